#pragma once

#include "average/joinvolumes.h"

namespace mirel {

/// Adds a sentence for each volume that was left out, counts less or was aligned.
void addJoinRemarks(JoinedVolumes& joined);

}  // namespace mirel

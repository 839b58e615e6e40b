#pragma once

#include <string>

#include "jobs/runrecord.h"

namespace mirel {

/// What a run found, for a person: a line about each image, the estimate and each series, and the
/// notes. The warnings are left to the caller.
std::string textOf(const RunRecord& run);

}  // namespace mirel

#pragma once

#include "base/json.h"
#include "pair/pairinput.h"

namespace mirel {

/// Adds to the record of an image what became of the volumes that were joined to it.
void addJoined(Json& json, const ImageDescription& image);

/// The same for the summary of a run.
Json joinedSummary(const JoinedVolumes& joined);

}  // namespace mirel

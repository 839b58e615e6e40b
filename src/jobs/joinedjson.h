#pragma once

#include "base/json.h"
#include "pair/pairinput.h"

namespace mirel {

/// The files beside the two of a pair, or of each of them, that the pair's images were joined from,
/// as inputs for a record.
void addFurther(Json& inputs, const ImageDescription& a, const ImageDescription& b);

/// Adds to the record of an image what became of the volumes that were joined to it.
void addJoined(Json& json, const ImageDescription& image);

/// The same for the summary of a run.
Json joinedSummary(const JoinedVolumes& joined);

}  // namespace mirel

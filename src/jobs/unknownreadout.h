#pragma once

#include <string>
#include <vector>

#include "jobs/seriesinput.h"

namespace mirel {

/// What the readout times of series tell against a map in voxels whose own is not known: the map
/// fits images of its readout time alone. Each series that has one gets a warning that the map's is
/// taken to be the same; a series without one is not looked at.
///
/// @param source  whose readout time is not known, as in "that of SOURCE"
/// @param advice  how it could be told
/// Errors  Error: two readout times that differ by more than 1 %, one of which at least is another
///         than that of the map.
void doubtUnknownReadout(const std::string& source, const Advice& advice,
                         std::vector<SeriesInput>& series);

}  // namespace mirel

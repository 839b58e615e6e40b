#pragma once

#include <string>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// What speaks against values being a field in Hz: sentences without the file's name, "runs from
/// ...". `raw` are the values as they stand in the file, `hertzPerUnit` makes Hz of them.
///
///   the range of a scanner's phase (0 .. 4095, -4096 .. 4094, -pi .. pi, -3142 .. 3142)
///   whole numbers only, unless `isStated` (then the file says that they are Hz)
///   beyond 1000 Hz in half of the voxels that are not 0
///   below 0.01 Hz everywhere
std::vector<std::string> doubtsAbout(const Volume<float>& raw, double hertzPerUnit, bool isStated);

}  // namespace mirel

#pragma once

#include <string>

#include "files/map.h"

namespace mirel {

/// Refuses a map that no image can be corrected with, as an estimate leaves it that diverged.
///
/// Errors   Error naming `fileName`: values that are not finite, or that reach farther than the
///          longer edge of the slices (in voxels), so that they point out of every image.
void refuseUnusableMap(const Map& map, const std::string& fileName);

}  // namespace mirel

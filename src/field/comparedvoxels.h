#pragma once

#include <vector>

#include "containers/volume.h"

namespace mirel {

/// The voxels in which two images of a head are compared, in the order of memory: those of the
/// head of `reference` (above Otsu's threshold of its finite voxels) and 3 around it along each
/// axis, where displacements show most, as far as `covered` (of the same dimensions) is not 0.
std::vector<int> comparedVoxels(const Volume<float>& reference, const Volume<float>& covered);

}  // namespace mirel

#pragma once

#include <string>

#include "containers/volume.h"

namespace mirel {

/// A sentence when a map displaces more than a hundredth of the head in `mean`, the mean of the
/// series `file`, by more than a quarter of the image along `axis`, which no field does at a
/// readout time of echo-planar imaging: in a pair of a real head the 99th percentile is a
/// twentieth. Fields in rad/s that are taken for Hz are found so. Empty otherwise.
///
/// @param shift   voxels, of the dimensions of `mean`
/// @param source  the file of the field or map
std::string shiftDoubt(const Volume<float>& mean, const Volume<float>& shift, int axis,
                       const std::string& file, const std::string& source);

}  // namespace mirel

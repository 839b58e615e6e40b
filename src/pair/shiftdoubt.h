#pragma once

#include <string>

#include "containers/volume.h"

namespace mirel {

/// A sentence when a map does to the head in `mean`, the mean of the series `file`, what no field
/// does at a readout time of echo-planar imaging: it displaces more than a hundredth of it by more
/// than a quarter of the image along `axis` (in a pair of a real head the 99th percentile is a
/// twentieth), or folds more than a fiftieth of it. Fields in rad/s that are taken for Hz are
/// found so. Empty otherwise.
///
/// @param shift   voxels, of the dimensions of `mean`
/// @param source  the file of the field or map
std::string shiftDoubt(const Volume<float>& mean, const Volume<float>& shift, int axis,
                       const std::string& file, const std::string& source);

}  // namespace mirel

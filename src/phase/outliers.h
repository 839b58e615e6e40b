#pragma once

#include "containers/volume.h"

namespace mirel {

/// Takes out of `field` (makes NaN) the voxels that differ from the median of those around them (26
/// neighbours that are known, itself included) by more than `sigmas` times their noise, which is
/// `noise` over their reliability, and by more than `least`. All are judged by the field as it was.
/// Returns how many there were.
int removeOutliers(Volume<float>& field, const Volume<float>& reliability, double noise,
                   double sigmas, double least);

}  // namespace mirel

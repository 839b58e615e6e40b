#pragma once

#include "containers/volume.h"
#include "numerics/parallel.h"

namespace mirel {

/// The slope along `axis` (0, 1, 2), one-sided where a central difference would leave the grid:
///
///   (v(p + 1) - v(p - 1)) / (2 step),   at the first and last element over the only neighbour,
///
/// step being the distance of neighbours: 1 for a slope per voxel, the voxel size for one per mm.
/// 0 where the axis has one element. In double, narrowed to float: for a step of 1 the same bits
/// as in single precision. (`getSimpleYDerivative` is another one: 0 at the first and last row.)
Volume<float> slopeAlong(const Volume<float>& v, int axis, double step = 1.0,
                         const Parallel& parallel = {});

}  // namespace mirel

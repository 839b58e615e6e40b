#pragma once

#include <glm/vec3.hpp>
#include <optional>

#include "containers/volume.h"

namespace mirel {

/// Correlations of a pair in the head, corrected by quick column-wise estimates along each of two
/// axes: where the encoded one is estimated along, the images become more alike.
struct AxisAgreement {
  /// None where the estimate has columns that did not converge, as on a field of view within the
  /// head.
  std::optional<double> along, across;
};

/// Estimates along `axis` and along `other` (0 for x, 1 for y, 2 for z), on half the resolution as
/// often as both axes keep 40 voxels, and corrects the images as they are: which axis explains
/// their differences is as plain then, at an eighth of the work.
///
/// @param first, second   of one grid, x fastest
/// @param voxelMm         along x, y and z, in mm
/// @param intensityScale  brings the threshold between head and air to the estimator's
/// @param threshold       between head and air, of the images' mean
/// @param weights         how much each voxel counts, 0 to 1; null: all alike
AxisAgreement compareAxes(const Volume<float>& first, const Volume<float>& second,
                          glm::dvec3 voxelMm, int axis, int other, double intensityScale,
                          double threshold, const Volume<float>* weights = nullptr);

}  // namespace mirel

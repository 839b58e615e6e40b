#pragma once

#include <cmath>
#include <glm/vec3.hpp>

namespace mirel {

/// 1 / h^2 per axis for the voxel size h in units of its geometric mean: the weights of squared
/// differences between neighbours.
inline glm::dvec3 inverseSquares(glm::dvec3 voxelMm) {
  const glm::dvec3 h = voxelMm / std::cbrt(voxelMm.x * voxelMm.y * voxelMm.z);
  return 1.0 / (h * h);
}

}  // namespace mirel

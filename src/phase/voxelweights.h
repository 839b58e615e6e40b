#pragma once

#include <cmath>
#include <glm/vec3.hpp>

namespace mirel {

/// The voxel size in units of its geometric mean.
inline glm::dvec3 relativeSize(glm::dvec3 voxelMm) {
  return voxelMm / std::cbrt(voxelMm.x * voxelMm.y * voxelMm.z);
}

/// 1 / h^2 per axis for that size h: the weights of squared differences between neighbours.
inline glm::dvec3 inverseSquares(glm::dvec3 voxelMm) {
  const glm::dvec3 h = relativeSize(voxelMm);
  return 1.0 / (h * h);
}

}  // namespace mirel

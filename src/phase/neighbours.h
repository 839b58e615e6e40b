#pragma once

#include <glm/vec3.hpp>

namespace mirel {

/// Calls act(m) for the index m of each of the up to six voxels that touch voxel n with a face.
template <class Do>
void forEachNeighbour(int n, glm::ivec3 dims, const Do& act) {
  const glm::ivec3 at(n % dims.x, n / dims.x % dims.y, n / (dims.x * dims.y));
  const glm::ivec3 strides(1, dims.x, dims.x * dims.y);
  for (int axis = 0; axis < 3; ++axis) {
    if (at[axis] > 0) act(n - strides[axis]);
    if (at[axis] + 1 < dims[axis]) act(n + strides[axis]);
  }
}

/// Calls act(first, step, axis) for each run of `length` voxels along an axis: first, first + step,
/// ... are their indices.
template <class Do>
void forEachRun(glm::ivec3 dims, int length, const Do& act) {
  const glm::ivec3 strides(1, dims.x, dims.x * dims.y);
  for (int axis = 0; axis < 3; ++axis) {
    glm::ivec3 last = dims;
    last[axis] -= length - 1;
    for (int z = 0; z < last.z; ++z)
      for (int y = 0; y < last.y; ++y)
        for (int x = 0; x < last.x; ++x)
          act(x + y * strides.y + z * strides.z, strides[axis], axis);
  }
}

}  // namespace mirel

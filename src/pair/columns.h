#pragma once

#include <glm/vec3.hpp>
#include <vector>

namespace mirel {

/// The columns of a grid along one axis: the index of each one's first voxel, and the step from
/// voxel to voxel in it.
struct Columns {
  std::vector<int> first;
  int step = 1, length = 0;

  Columns(glm::ivec3 dims, int axis) : length(dims[axis]) {
    const int steps[] = {1, dims.x, dims.x * dims.y};
    step = steps[axis];
    for (int i = 0; i < dims.x * dims.y * dims.z; ++i)
      if (i / step % length == 0) first.push_back(i);
  }

  /// The sum of value(index) over a column.
  template <typename Value>
  double total(int start, const Value& value) const {
    double sum = 0;
    for (int n = 0; n < length; ++n) sum += value(start + n * step);
    return sum;
  }
};

}  // namespace mirel

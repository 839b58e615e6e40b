#pragma once

#include <glm/vec3.hpp>
#include <vector>

namespace mirel {

/// Which voxels a sweep visits, row by row in sweep order. A visit covers the window around its
/// centre; whether a voxel is visited depends on whether an earlier visit has covered it.
class Visits {
 public:
  Visits(glm::ivec3 imageDims, glm::ivec3 windowDims);

  /// Visits row y of slice z (rows in ascending order of z, then y): per x, whether the voxel is
  /// foreground decides, as it is while no visit has covered it and as it is afterwards.
  /// @return per x, 1 where the voxel is visited
  const std::vector<unsigned char>& visitRow(int y, int z, const unsigned char* foregroundAtStart,
                                             const unsigned char* foregroundOnceVisited);

 private:
  void startSlice(int z);
  void finishRow(int y);

  int nx, ny;
  glm::ivec3 half;
  int currentSlice = -1;
  std::vector<std::vector<unsigned char>> coveredSlices;  // by earlier slices, ring over z
  std::vector<std::vector<unsigned char>> coveredRows;    // by rows of the current slice
  std::vector<unsigned char> visited, covered;
};

}  // namespace mirel

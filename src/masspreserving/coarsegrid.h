#pragma once

#include <array>
#include <glm/vec3.hpp>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// Trilinear hats on nodes that are spread evenly from end to end of a volume: means of an image
/// near each node, and values between them.
class CoarseGrid {
 public:
  /// `nodes`: 1 or more per axis. `voxelPart` is the length of the voxels in units of the whole
  /// axis (their grid may reach beyond it).
  CoarseGrid(glm::ivec3 voxels, glm::dvec3 voxelPart, glm::ivec3 nodes);

  /// Numbers of nodes about `apart` mm from each other on a volume of `extentMm`.
  static glm::ivec3 nodesFor(glm::dvec3 extentMm, double apart);

  int size() const { return nodes.x * nodes.y * nodes.z; }

  /// Between the nodes' values (x fastest), at the voxels.
  template <typename Real>
  void expand(const std::vector<double>& values, Volume<Real>& v) const;
  /// The transposed: sums over the voxels, each shared out to the nodes about it.
  template <typename Real>
  std::vector<double> project(const Volume<Real>& v) const;

 private:
  struct Place {
    int low;
    double share;  // of low + 1 (which counts as low where there is none)
  };
  static std::vector<Place> placesOf(int voxels, double voxelPart, int nodes);
  int node(int x, int y, int z) const { return (z * nodes.y + y) * nodes.x + x; }
  template <typename Visit>
  void forEachRow(Visit visit) const;

  glm::ivec3 voxels, nodes;
  std::vector<Place> alongX, alongY, alongZ;
};

extern template void CoarseGrid::expand(const std::vector<double>&, Volume<float>&) const;
extern template void CoarseGrid::expand(const std::vector<double>&, Volume<double>&) const;
extern template std::vector<double> CoarseGrid::project(const Volume<float>&) const;
extern template std::vector<double> CoarseGrid::project(const Volume<double>&) const;

}  // namespace mirel

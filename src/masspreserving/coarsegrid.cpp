#include "masspreserving/coarsegrid.h"

#include <algorithm>
#include <cmath>

namespace mirel {

CoarseGrid::CoarseGrid(glm::ivec3 gridVoxels, glm::dvec3 voxelPart, glm::ivec3 gridNodes)
    : voxels(gridVoxels),
      nodes(gridNodes),
      alongX(placesOf(gridVoxels.x, voxelPart.x, gridNodes.x)),
      alongY(placesOf(gridVoxels.y, voxelPart.y, gridNodes.y)),
      alongZ(placesOf(gridVoxels.z, voxelPart.z, gridNodes.z)) {}

glm::ivec3 CoarseGrid::nodesFor(glm::dvec3 extentMm, double apart) {
  glm::ivec3 count;
  for (int axis = 0; axis < 3; ++axis)
    count[axis] = static_cast<int>(std::lround(extentMm[axis] / apart)) + 1;
  return count;
}

std::vector<CoarseGrid::Place> CoarseGrid::placesOf(int count, double voxelPart, int nodeNumber) {
  std::vector<Place> places;
  for (int i = 0; i < count; ++i) {
    const double at = std::clamp((i + 0.5) * voxelPart, 0.0, 1.0) * (nodeNumber - 1);
    const int low = std::clamp(static_cast<int>(at), 0, std::max(nodeNumber - 2, 0));
    places.push_back({low, at - low});
  }
  return places;
}

// Calls visit(row, corners, weights) for the rows along x: the first node of each of the four rows
// of nodes about it, and their weights.
template <typename Visit>
void CoarseGrid::forEachRow(Visit visit) const {
  int row = 0;
  for (const Place& z : alongZ)
    for (const Place& y : alongY) {
      const int y1 = std::min(y.low + 1, nodes.y - 1), z1 = std::min(z.low + 1, nodes.z - 1);
      const std::array<int, 4> corners{node(0, y.low, z.low), node(0, y1, z.low),
                                       node(0, y.low, z1), node(0, y1, z1)};
      const std::array<double, 4> weights{(1.0 - y.share) * (1.0 - z.share),
                                          y.share * (1.0 - z.share), (1.0 - y.share) * z.share,
                                          y.share * z.share};
      visit(row, corners, weights);
      row += voxels.x;
    }
}

template <typename Real>
void CoarseGrid::expand(const std::vector<double>& values, Volume<Real>& v) const {
  std::vector<double> line(static_cast<std::size_t>(nodes.x + 1));
  forEachRow([&](int row, const std::array<int, 4>& corners, const std::array<double, 4>& weights) {
    for (int k = 0; k < nodes.x; ++k) {
      double sum = 0.0;
      for (std::size_t c = 0; c < 4; ++c) {
        const int node = corners[c] + k;
        sum += weights[c] * values[static_cast<std::size_t>(node)];
      }
      line[static_cast<std::size_t>(k)] = sum;
    }
    line[static_cast<std::size_t>(nodes.x)] = line[static_cast<std::size_t>(nodes.x - 1)];
    for (int x = 0; x < voxels.x; ++x) {
      const Place& place = alongX[static_cast<std::size_t>(x)];
      const std::size_t low = static_cast<std::size_t>(place.low);
      v.data()[row + x] = static_cast<Real>(line[low] + place.share * (line[low + 1] - line[low]));
    }
  });
}

template <typename Real>
std::vector<double> CoarseGrid::project(const Volume<Real>& v) const {
  std::vector<double> sums(static_cast<std::size_t>(size()), 0.0);
  std::vector<double> line(static_cast<std::size_t>(nodes.x + 1));
  forEachRow([&](int row, const std::array<int, 4>& corners, const std::array<double, 4>& weights) {
    std::fill(line.begin(), line.end(), 0.0);
    for (int x = 0; x < voxels.x; ++x) {
      const Place& place = alongX[static_cast<std::size_t>(x)];
      const std::size_t low = static_cast<std::size_t>(place.low);
      const double value = static_cast<double>(v.data()[row + x]), high = place.share * value;
      line[low] += value - high;
      line[low + 1] += high;
    }
    line[static_cast<std::size_t>(nodes.x - 1)] += line[static_cast<std::size_t>(nodes.x)];
    for (int k = 0; k < nodes.x; ++k)
      for (std::size_t c = 0; c < 4; ++c) {
        const int node = corners[c] + k;
        sums[static_cast<std::size_t>(node)] += weights[c] * line[static_cast<std::size_t>(k)];
      }
  });
  return sums;
}

template void CoarseGrid::expand(const std::vector<double>&, Volume<float>&) const;
template void CoarseGrid::expand(const std::vector<double>&, Volume<double>&) const;
template std::vector<double> CoarseGrid::project(const Volume<float>&) const;
template std::vector<double> CoarseGrid::project(const Volume<double>&) const;

}  // namespace mirel

#include "masspreserving/pyramid.h"

#include <algorithm>
#include <cmath>

namespace mirel {

std::vector<PyramidLevel> makePyramid(glm::ivec3 voxels, glm::dvec3 voxelMm, int fewestVoxels) {
  std::vector<PyramidLevel> levels{{voxels, glm::ivec3(1), voxelMm, glm::ivec3(1)}};
  for (;;) {
    PyramidLevel level = levels.back();
    const double shortest = std::min({level.voxelMm.x, level.voxelMm.y, level.voxelMm.z});
    for (int axis = 0; axis < 3; ++axis) {
      const bool halve =
          level.voxels[axis] >= 2 * fewestVoxels && level.voxelMm[axis] <= 1.5 * shortest;
      level.halved[axis] = halve ? 2 : 1;
      level.voxels[axis] = (level.voxels[axis] + level.halved[axis] - 1) / level.halved[axis];
      level.factor[axis] *= level.halved[axis];
      level.voxelMm[axis] *= level.halved[axis];
    }
    const bool lastOfY = level.voxels.y < 2 * fewestVoxels;
    if (level.halved == glm::ivec3(1)) return levels;
    levels.push_back(level);
    if (lastOfY) return levels;
  }
}

namespace {

// `coarsen` along one axis.
Volume<float> coarsenAlong(int axis, const Volume<float>& image, const Parallel& parallel) {
  glm::ivec3 size = image.dimensions();
  const int length = size[axis];
  size[axis] = (length + 1) / 2;
  Volume<float> coarse(size);
  inSlices(parallel, size, [&](int from, int to) {
    for (int z = from; z < to; ++z)
      for (int y = 0; y < size.y; ++y)
        for (int x = 0; x < size.x; ++x) {
          glm::ivec3 place(x, y, z);
          const int start = 2 * place[axis] - 1;
          const auto value = [&](int k) {
            place[axis] = std::clamp(start + k, 0, length - 1);
            const float v = image[place];
            return std::isfinite(v) ? v : 0.0F;
          };
          coarse.at(x, y, z) = 0.125F * (value(0) + value(3)) + 0.375F * (value(1) + value(2));
        }
  });
  return coarse;
}

}  // namespace

Volume<float> coarsen(const Volume<float>& image, glm::ivec3 halved, const Parallel& parallel) {
  Volume<float> coarse = image;
  for (int axis = 0; axis < 3; ++axis)
    if (halved[axis] == 2) coarse = coarsenAlong(axis, coarse, parallel);
  return coarse;
}

namespace {

struct Place {
  int low, high;
  double share;  // of high
};

std::vector<Place> places(int fine, int coarse, bool halved, bool atEdges) {
  std::vector<Place> list;
  for (int i = 0; i < fine; ++i) {
    const double wanted = !halved ? i : atEdges ? 0.5 * i : 0.5 * i - 0.25;
    const double position = std::clamp(wanted, 0.0, static_cast<double>(coarse - 1));
    const int low = std::min(static_cast<int>(position), coarse - 1);
    list.push_back({low, std::min(low + 1, coarse - 1), position - low});
  }
  return list;
}

}  // namespace

template <typename Real>
Volume<Real> prolong(const Volume<Real>& coarse, glm::ivec3 fineVoxels, glm::ivec3 halved,
                     const Parallel& parallel) {
  Volume<Real> fine(fineVoxels.x, fineVoxels.y + 1, fineVoxels.z);
  const auto px = places(fine.nx(), coarse.nx(), halved.x == 2, false);
  const auto py = places(fine.ny(), coarse.ny(), halved.y == 2, true);
  const auto pz = places(fine.nz(), coarse.nz(), halved.z == 2, false);
  const double scale = halved.y;
  const auto fillSlice = [&](int slice) {
    const Place& z = pz[static_cast<std::size_t>(slice)];
    int index = fine.index(0, 0, slice);
    for (const Place& y : py)
      for (const Place& x : px) {
        const auto alongX = [&](int j, int k) {
          return (1.0 - x.share) * static_cast<double>(coarse.at(x.low, j, k)) +
                 x.share * static_cast<double>(coarse.at(x.high, j, k));
        };
        const auto alongXY = [&](int k) {
          return (1.0 - y.share) * alongX(y.low, k) + y.share * alongX(y.high, k);
        };
        fine.data()[index++] = static_cast<Real>(
            scale * ((1.0 - z.share) * alongXY(z.low) + z.share * alongXY(z.high)));
      }
  };
  inSlices(parallel, fine.dimensions(), [&](int from, int to) {
    for (int slice = from; slice < to; ++slice) fillSlice(slice);
  });
  return fine;
}

template <typename Real>
Volume<float> edgesToVoxels(const Volume<Real>& edges, double largestStep) {
  const int ny = edges.ny() - 1;
  Volume<float> voxels(edges.nx(), ny, edges.nz());
  for (int z = 0; z < edges.nz(); ++z)
    for (int x = 0; x < edges.nx(); ++x) {
      const auto edge = [&](int j) { return static_cast<double>(edges.at(x, j, z)); };
      bool steep = false;
      for (int j = 0; j < ny; ++j) {
        const double mean = 0.5 * (edge(j) + edge(j + 1));
        const bool inner = j > 0 && j + 1 < ny;
        const double bend = inner ? (2.0 * mean - edge(j - 1) - edge(j + 2)) / 16.0 : 0.0;
        voxels.at(x, j, z) = static_cast<float>(mean + bend);
        steep = steep || (j > 0 && std::abs(static_cast<double>(voxels.at(x, j, z)) -
                                            voxels.at(x, j - 1, z)) >= largestStep);
      }
      for (int j = 0; steep && j < ny; ++j)
        voxels.at(x, j, z) = static_cast<float>(0.5 * (edge(j) + edge(j + 1)));
    }
  return voxels;
}

Volume<float> voxelsToEdges(const Volume<float>& voxels) {
  const int last = voxels.ny() - 1;
  Volume<float> edges(voxels.nx(), voxels.ny() + 1, voxels.nz());
  for (int z = 0; z < edges.nz(); ++z)
    for (int j = 0; j < edges.ny(); ++j)
      for (int x = 0; x < edges.nx(); ++x)
        edges.at(x, j, z) =
            0.5F * (voxels.at(x, std::max(j - 1, 0), z) + voxels.at(x, std::min(j, last), z));
  return edges;
}

void limitStretch(Volume<float>& voxels, float largestStep) {
  for (int z = 0; z < voxels.nz(); ++z)
    for (int y = 1; y < voxels.ny(); ++y)
      for (int x = 0; x < voxels.nx(); ++x) {
        const float before = voxels.at(x, y - 1, z);
        voxels.at(x, y, z) =
            std::clamp(voxels.at(x, y, z), before - largestStep, before + largestStep);
      }
}

template Volume<float> prolong(const Volume<float>&, glm::ivec3, glm::ivec3, const Parallel&);
template Volume<double> prolong(const Volume<double>&, glm::ivec3, glm::ivec3, const Parallel&);
template Volume<float> edgesToVoxels(const Volume<float>&, double);
template Volume<float> edgesToVoxels(const Volume<double>&, double);

}  // namespace mirel

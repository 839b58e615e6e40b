#include "masspreserving/voxelnoise.h"

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <vector>

#include "masspreserving/conjugategradients.h"
#include "numerics/splitmix.h"

namespace mirel {

namespace {

constexpr double tracesTolerance = 0.2;
constexpr int mostTracesIterations = 60;
constexpr std::uint64_t noiseSigns = 3000017;  // another part of the sequence of signs

// Distances in the plane of a slice. Along x one is enough: it is there so that noise that is alike
// along x is not taken for less than it is.
constexpr std::array<glm::ivec2, 5> distances{{{0, 0}, {0, 1}, {0, 2}, {0, 3}, {1, 0}}};
constexpr int terms = static_cast<int>(distances.size());
using Equations = Eigen::Matrix<double, terms, terms>;
using Terms = Eigen::Matrix<double, terms, 1>;

// Calls `pair` with the indices of all voxels of a slice and of those at the distance.
template <typename Pair>
void forPairs(const Volume<float>& v, int z, glm::ivec2 distance, const Pair& pair) {
  const int between = v.index(distance.x, distance.y, 0);
  for (int y = 0; y + distance.y < v.ny(); ++y) {
    const int row = v.index(0, y, z);
    for (int i = row; i < row + v.nx() - distance.x; ++i) pair(i, i + between);
  }
}

Volume<float> signs(glm::ivec3 size, const Parallel& parallel) {
  Volume<float> result(size);
  inElements(parallel, result.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i)
      result.data()[i] =
          (splitMix64(noiseSigns + static_cast<std::uint64_t>(i)) & 1U) != 0 ? 1.0F : -1.0F;
  });
  return result;
}

// S_k of a volume, with 0 beyond the grid.
Volume<float> neighbours(const Volume<float>& v, glm::ivec2 distance, const Parallel& parallel) {
  if (distance == glm::ivec2(0)) return v;
  Volume<float> sums(v.dimensions(), 0.0F);
  inSlices(parallel, v.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z)
      forPairs(v, z, distance, [&](int i, int j) {
        sums.data()[i] += v.data()[j];
        sums.data()[j] += v.data()[i];
      });
  });
  return sums;
}

// P of a change of the residuals.
void leaveUnfitted(Objective<float>& objective, const LineSolver<float>& lines,
                   Volume<float>& change) {
  objective.takeRatioFrom(change);
  Volume<float> rhs(glm::ivec3(change.nx(), change.ny() + 1, change.nz())), step;
  objective.gradientOf(change, rhs);
  const auto product = [&](const Volume<float>& v, Volume<float>& out) {
    objective.product(v, out);
  };
  conjugateGradients<float>(product, lines, rhs, step, tracesTolerance, mostTracesIterations);
  Volume<float> fitted(change.dimensions());
  objective.residualChange(step, fitted);
  objective.takeRatioFrom(fitted);
  change -= fitted;
}

// p'A_m q, A_m with the roots of the voxels' weights.
double paired(const Volume<float>& p, const Volume<float>& q, glm::ivec2 distance,
              const Volume<float>& roots, const Parallel& parallel) {
  std::vector<double> ofSlices(static_cast<std::size_t>(p.nz()), 0.0);
  inSlices(parallel, p.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z)
      forPairs(p, z, distance, [&](int i, int j) {
        const double weight = static_cast<double>(roots.data()[i]) * roots.data()[j];
        const double both = static_cast<double>(p.data()[i]) * q.data()[j] +
                            static_cast<double>(p.data()[j]) * q.data()[i];
        ofSlices[static_cast<std::size_t>(z)] += 0.5 * weight * both;
      });
  });
  return sumOf(ofSlices);
}

// Values at the voxels displaced by b, by the parabolas of ColumnIntegral without their clamps,
// which noise would not meet alone; 0 beyond the grid. One image lies at b and the other at -b: to
// one side for both, so that exchanging them changes nothing.
float between(const Volume<float>& v, int x, int y, int z, double displacement) {
  const double whole = std::floor(displacement), u = displacement - whole;
  const int cell = y + static_cast<int>(whole);
  std::array<double, 6> a{};  // from cell - 2
  for (int k = 0; k < 6; ++k)
    if (cell - 2 + k >= 0 && cell - 2 + k < v.ny())
      a[static_cast<std::size_t>(k)] = static_cast<double>(v.at(x, cell - 2 + k, z));
  const auto edge = [&](std::size_t k) {  // below a[k]
    return (7.0 * (a[k - 1] + a[k]) - a[k - 2] - a[k + 1]) / 12.0;
  };
  const double q = 6.0 * (u * u / 2.0 - u * u * u / 3.0);
  const double below = u - 0.5 * (u * u + q), above = 0.5 * (u * u - q);
  return static_cast<float>(a[2] + q * (a[3] - a[2]) - below * edge(2) + (below - above) * edge(3) +
                            above * edge(4));
}

Volume<float> interpolated(const Volume<float>& v, const Volume<float>& b,
                           const Parallel& parallel) {
  Volume<float> result(v.dimensions());
  inSlices(parallel, v.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z)
      for (int y = 0; y < v.ny(); ++y)
        for (int x = 0; x < v.nx(); ++x)
          result.at(x, y, z) = between(
              v, x, y, z, 0.5 * std::abs(static_cast<double>(b.at(x, y, z)) + b.at(x, y + 1, z)));
  });
  return result;
}

Volume<float> rootsOfWeights(const Objective<float>& objective) {
  const float *low = objective.lowSlopes().data(), *high = objective.highSlopes().data();
  const float* weight = objective.weight.data();
  Volume<float> roots(objective.weight.dimensions());
  inElements(objective.inParallel(), roots.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i)
      roots.data()[i] = std::sqrt(weight[i] * std::max(low[i] * high[i], 0.0F));
  });
  return roots;
}

}  // namespace

double VoxelNoise::averagedShare() const {
  // Half-way lies the sum of six voxels times -(-1, 9, -56, -56, 9, -1) / 96. What it keeps of the
  // correlation of voxels 1, 2 and 3 apart: twice the products of these weights.
  constexpr std::array<double, 3> kept{0.4579, -0.1944, 0.0419};
  const double white = AveragedNoise(0.5).missing;
  double missing = white;
  for (std::size_t k = 0; k < kept.size(); ++k) missing -= kept[k] * alongY[k];
  return std::clamp(missing / white, 0.0, 1.0);
}

VoxelNoise voxelNoise(Objective<float>& objective, const LineSolver<float>& lines,
                      const Volume<float>& b) {
  const Parallel& parallel = objective.inParallel();
  const Volume<float>& residuals = objective.residuals();
  const Volume<float> roots = rootsOfWeights(objective);
  const Volume<float> white = signs(roots.dimensions(), parallel);
  Volume<float> whiteLeft;
  Equations traces;
  Terms squares;
  for (int k = 0; k < terms; ++k) {
    const glm::ivec2 distance = distances[static_cast<std::size_t>(k)];
    Volume<float> left = interpolated(neighbours(white, distance, parallel), b, parallel);
    leaveUnfitted(objective, lines, left);
    if (k == 0) whiteLeft = left;
    for (int m = 0; m < terms; ++m)
      traces(m, k) =
          paired(whiteLeft, left, distances[static_cast<std::size_t>(m)], roots, parallel);
    squares(k) = paired(residuals, residuals, distance, roots, parallel);
  }
  const Terms found = traces.fullPivLu().solve(squares);
  if (!found.allFinite() || !(found(0) > 0.0)) return {};
  return {found(0),
          {found(1) / found(0), found(2) / found(0), found(3) / found(0)},
          found(4) / found(0)};
}

}  // namespace mirel

#include "phase/unwrap.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "numerics/statistics.h"
#include "phase/angle.h"
#include "phase/edgequality.h"
#include "phase/regions.h"
#include "phase/turnsets.h"

namespace mirel {

namespace {

constexpr int levels = 65536;

struct Edge {
  int voxel, axis;
};

glm::ivec3 stridesOf(glm::ivec3 dims) { return {1, dims.x, dims.x * dims.y}; }

// All edges between voxels that have a phase, the best first (counted into levels).
std::vector<Edge> sortedEdges(const Volume<float>& phase, const Volume<float>& magnitude) {
  const glm::ivec3 dims = phase.dimensions(), strides = stridesOf(dims);
  const EdgeQuality quality(phase, magnitude);
  std::vector<Edge> edges;
  std::vector<std::uint16_t> worseness;
  for (int z = 0, n = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x, ++n)
        for (int axis = 0; axis < 3; ++axis) {
          const glm::ivec3 p(x, y, z);
          if (p[axis] + 1 == dims[axis] || std::isnan(phase.data()[n]) ||
              std::isnan(phase.data()[n + strides[axis]]))
            continue;
          edges.push_back({n, axis});
          worseness.push_back(static_cast<std::uint16_t>((levels - 1) * (1 - quality.of(p, axis))));
        }
  std::vector<std::size_t> place(levels + 1, 0);
  for (const std::uint16_t level : worseness) ++place[level + 1U];
  for (std::size_t level = 0; level < levels; ++level) place[level + 1] += place[level];
  std::vector<Edge> sorted(edges.size());
  for (std::size_t n = 0; n < edges.size(); ++n) sorted[place[worseness[n]]++] = edges[n];
  return sorted;
}

void addTurns(Volume<float>& phase, TurnSets& sets) {
  for (int n = 0; n < phase.size(); ++n)
    if (!std::isnan(phase.data()[n]))
      phase.data()[n] =
          static_cast<float>(static_cast<double>(phase.data()[n]) + turn * sets.turnsOf(n));
}

void centre(UnwrappedPhase& result) {
  std::vector<float> known;
  std::copy_if(result.radians.data(), result.radians.data() + result.radians.size(),
               std::back_inserter(known), [](float v) { return !std::isnan(v); });
  result.voxels = static_cast<int>(known.size());
  if (known.empty()) return;
  result.radians -=
      static_cast<float>(turn * std::round(static_cast<double>(quantile(known, 0.5)) / turn));
}

}  // namespace

UnwrappedPhase unwrap(const Volume<float>& wrappedRadians, const Volume<float>& magnitude,
                      const Volume<float>& mask) {
  UnwrappedPhase result{wrappedRadians, 0, 0};
  Volume<float>& phase = result.radians;
  for (int n = 0; n < phase.size(); ++n)
    if (!(mask.data()[n] > 0.0F)) phase.data()[n] = std::numeric_limits<float>::quiet_NaN();
  TurnSets sets(phase.size());
  const glm::ivec3 strides = stridesOf(phase.dimensions());
  for (const Edge& edge : sortedEdges(phase, magnitude)) {
    const int p = edge.voxel, q = p + strides[edge.axis];
    const double apart =
        static_cast<double>(phase.data()[p]) - static_cast<double>(phase.data()[q]);
    sets.join(p, q, static_cast<int>(std::round(apart / turn)));
  }
  result.regions = joinRegions(phase, sets);
  addTurns(phase, sets);
  centre(result);
  return result;
}

}  // namespace mirel

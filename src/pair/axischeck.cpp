#include "pair/axischeck.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <utility>

#include "containers/exchange.h"
#include "masspreserving/pyramid.h"
#include "numerics/statistics.h"
#include "pair/agreement.h"
#include "pair/foreground.h"
#include "vdm/estimatepair.h"

namespace mirel {

namespace {

// On the coarse grid, of the two axes and of the third: with fewer, small distortions are not told
// apart.
constexpr int fewestOfAxis = 40, fewestOfThird = 16;

// Both axes are halved alike: the finer one would be at an advantage.
int halvingsOf(glm::ivec3 voxels, int axis, int other) {
  int count = 0;
  for (int n = std::min(voxels[axis], voxels[other]); n >= 2 * fewestOfAxis; n = (n + 1) / 2)
    ++count;
  return count;
}

// As the estimator wants them: what is estimated runs along y.
struct TurnedPair {
  Volume<float> first, second;
  glm::dvec3 voxelMm;
};

Volume<float> quickMap(const TurnedPair& pair, float scale) {
  std::ostringstream log;
  return estimatePair(pair.first * scale, pair.second * scale, pair.voxelMm, {.fast = true}, log);
}

// The map in voxels of an estimate on a grid that is halved so many times.
Volume<float> coarseMap(const TurnedPair& pair, float scale, int halvings) {
  if (halvings == 0) return quickMap(pair, scale);
  const glm::ivec3 voxels = pair.first.dimensions();
  glm::ivec3 halved(2);
  for (int axis = 0; axis < 3; ++axis)
    if (voxels[axis] < 2 * fewestOfThird) halved[axis] = 1;
  const TurnedPair coarse{coarsen(pair.first, halved), coarsen(pair.second, halved),
                          pair.voxelMm * glm::dvec3(halved)};
  const Volume<float> map = coarseMap(coarse, scale, halvings - 1);
  constexpr double anyStep = std::numeric_limits<double>::infinity();
  return edgesToVoxels(prolong(voxelsToEdges(map), voxels, halved), anyStep);
}

}  // namespace

AxisAgreement compareAxes(const Volume<float>& first, const Volume<float>& second,
                          glm::dvec3 voxelMm, int axis, int other, double intensityScale,
                          double threshold, const Volume<float>* weights) {
  const int halvings = halvingsOf(first.dimensions(), axis, other);
  const auto agreement = [&](int along) -> std::optional<double> {
    TurnedPair pair{exchangedWithY(first, along), exchangedWithY(second, along), voxelMm};
    std::swap(pair.voxelMm[along], pair.voxelMm[1]);
    const Volume<float> map = coarseMap(pair, static_cast<float>(intensityScale), halvings);
    if (!isFinite(map)) return std::nullopt;
    Volume<float> head = headMask(meanOf(pair.first, pair.second), threshold);
    if (weights != nullptr) head *= exchangedWithY(*weights, along);
    return agreementThrough(map, map * -1.0f, 1, pair.first, pair.second, head);
  };
  return {agreement(axis), agreement(other)};
}

}  // namespace mirel

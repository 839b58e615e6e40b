#include "phase/harmonic.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "phase/conjugategradients.h"
#include "phase/nearest.h"
#include "phase/neighbours.h"
#include "phase/voxelweights.h"

namespace mirel {

namespace {

constexpr double tolerance = 1e-5;
constexpr int mostSteps = 2000;

}  // namespace

Volume<float> continuedHarmonically(const Volume<float>& field, glm::dvec3 voxelMm) {
  const glm::ivec3 dims = field.dimensions();
  const glm::dvec3 weight = inverseSquares(voxelMm);
  const auto isKnown = [&](int n) { return !std::isnan(field.data()[n]); };
  const auto laplacian = [&](const Volume<double>& f, Volume<double>& out) {
    std::fill(out.data(), out.data() + out.size(), 0.0);
    forEachRun(dims, 2, [&](int a, int step, int axis) {
      const double flow = weight[axis] * (f.data()[a + step] - f.data()[a]);
      out.data()[a] -= flow;
      out.data()[a + step] += flow;
    });
    for (int n = 0; n < out.size(); ++n)
      if (isKnown(n)) out.data()[n] = 0;
  };
  Volume<double> known(dims, 0.0), rhs(dims, 0.0), rest = nearestValues(field);
  for (int n = 0; n < field.size(); ++n)
    if (isKnown(n)) std::swap(known.data()[n], rest.data()[n]);
  laplacian(known, rhs);
  rhs = -rhs;
  conjugateGradients(laplacian, Volume<double>(dims, 2 * (weight.x + weight.y + weight.z)), rhs,
                     rest, tolerance, mostSteps);
  Volume<float> result = field;
  for (int n = 0; n < result.size(); ++n)
    if (!isKnown(n)) result.data()[n] = static_cast<float>(rest.data()[n]);
  return result;
}

}  // namespace mirel

#include "phase/measuredfield.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "base/error.h"
#include "base/numbertext.h"
#include "numerics/statistics.h"
#include "phase/angle.h"
#include "phase/fieldnoise.h"
#include "phase/harmonic.h"
#include "phase/measuredhead.h"
#include "phase/neighbours.h"
#include "phase/outliers.h"
#include "phase/smoothfield.h"
#include "phase/unwrap.h"

namespace mirel {

namespace {

constexpr double outlierSigmas = 5, outlierTurns = 0.1, outlierHz = 10;
constexpr int leastVoxels = 64;  // fewer are no head

Volume<float> dilated(const Volume<float>& mask) {
  Volume<float> wider = mask;
  for (int n = 0; n < mask.size(); ++n)
    if (mask.data()[n] > 0.0F)
      forEachNeighbour(n, mask.dimensions(), [&](int m) { wider.data()[m] = 1; });
  return wider;
}

double medianIn(const Volume<float>& values, const Volume<float>& mask) {
  std::vector<float> inside;
  for (int n = 0; n < values.size(); ++n)
    if (mask.data()[n] > 0.0F) inside.push_back(values.data()[n]);
  return inside.empty() ? 0 : static_cast<double>(quantile(inside, 0.5));
}

// Of measurements that are NaN where there is none.
MeasuredField finished(Volume<float> measured, MeasuredHead head, glm::dvec3 voxelMm,
                       double leastOutlier) {
  MeasuredField field;
  const Volume<float>& reliability = head.reliability;
  field.noiseHz = variationOf(measured, reliability).noise;
  field.outliers =
      removeOutliers(measured, reliability, field.noiseHz, outlierSigmas, leastOutlier);
  field.voxels = static_cast<int>(std::count_if(measured.data(), measured.data() + measured.size(),
                                                [](float v) { return !std::isnan(v); }));
  const Volume<float> smooth = smoothField(measured, reliability, dilated(head.inside),
                                           variationOf(measured, reliability), voxelMm);
  field.hz = continuedHarmonically(smooth, voxelMm);
  field.medianHz = medianIn(field.hz, head.inside);
  field.head = std::move(head.inside);
  return field;
}

// Radians per second by least squares over times, the first of which is 0 with the phase 0.
class PhaseSlope {
 public:
  void add(double seconds, double radians) {
    ++count;
    times += seconds;
    phases += radians;
    squares += seconds * seconds;
    products += seconds * radians;
  }
  double value() const {
    return (products - times * phases / count) / (squares - times * times / count);
  }

 private:
  double count = 1, times = 0, phases = 0, squares = 0, products = 0;
};

// Of a voxel: `nearest` is the unwrapped phase of the first of the echoes, which are sorted.
double slopeOver(const std::vector<EchoPhase>& echoes, int voxel, double nearest) {
  PhaseSlope slope;
  slope.add(echoes.front().seconds, nearest);
  if (std::isnan(nearest)) return nearest;
  for (std::size_t n = 1; n < echoes.size(); ++n) {
    const double radians = static_cast<double>(echoes[n].radians.data()[voxel]);
    if (!std::isfinite(radians)) continue;
    const double expected = slope.value() * echoes[n].seconds;
    slope.add(echoes[n].seconds, expected + wrapped(radians - expected));
  }
  return slope.value();
}

void refuseNoHead(int voxels, const std::string& name) {
  if (voxels < leastVoxels)
    throw Error(name, "shows no head: " + counted(voxels, "voxel") +
                          (voxels == 1 ? " tells a field" : " tell a field"));
}

}  // namespace

MeasuredField fieldOfEchoes(std::vector<EchoPhase> echoes, const Volume<float>& magnitude,
                            glm::dvec3 voxelMm, const std::string& name) {
  if (echoes.empty()) throw std::invalid_argument("a field needs the phases of two echoes");
  std::sort(echoes.begin(), echoes.end(), [](const EchoPhase& one, const EchoPhase& other) {
    return std::abs(one.seconds) < std::abs(other.seconds);
  });
  const Volume<float>& nearest = echoes.front().radians;
  MeasuredHead head = magnitude.size() == 0 ? headOfPhase(nearest) : headOfMagnitude(magnitude);
  UnwrappedPhase unwrapped = unwrap(nearest, magnitude, head.reliability);
  refuseNoHead(unwrapped.voxels, name);
  Volume<float>& measured = unwrapped.radians;
  for (int n = 0; n < measured.size(); ++n)
    measured.data()[n] =
        static_cast<float>(slopeOver(echoes, n, static_cast<double>(measured.data()[n])) / turn);
  MeasuredField field = finished(std::move(measured), std::move(head), voxelMm,
                                 outlierTurns / std::abs(echoes.front().seconds));
  field.regions = unwrapped.regions;
  return field;
}

MeasuredField fieldOfHertz(const Volume<float>& hz, const Volume<float>& magnitude,
                           glm::dvec3 voxelMm, const std::string& name) {
  Volume<float> inside(hz.dimensions(), 0.0F);
  std::transform(hz.data(), hz.data() + hz.size(), inside.data(),
                 [](float v) { return std::isfinite(v) && v != 0.0F ? 1.0F : 0.0F; });
  MeasuredHead head =
      magnitude.size() == 0 ? MeasuredHead{inside, inside} : headOfMagnitude(magnitude);
  Volume<float> measured = hz;
  int voxels = 0;
  for (int n = 0; n < hz.size(); ++n) {
    const bool isKnown = head.reliability.data()[n] > 0.0F && inside.data()[n] > 0.0F;
    if (!isKnown) measured.data()[n] = std::numeric_limits<float>::quiet_NaN();
    voxels += isKnown;
  }
  refuseNoHead(voxels, name);
  return finished(std::move(measured), std::move(head), voxelMm, outlierHz);
}

}  // namespace mirel

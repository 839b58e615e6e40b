#include "phase/measuredfield.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "base/error.h"
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

void refuseNoHead(int voxels, const std::string& name) {
  if (voxels < leastVoxels)
    throw Error(name, "shows no head: " + std::to_string(voxels) + " voxels tell a field");
}

}  // namespace

MeasuredField fieldOfPhase(const Volume<float>& radians, const Volume<float>& magnitude,
                           glm::dvec3 voxelMm, double seconds, const std::string& name) {
  MeasuredHead head = magnitude.size() == 0 ? headOfPhase(radians) : headOfMagnitude(magnitude);
  UnwrappedPhase unwrapped = unwrap(radians, magnitude, head.reliability);
  refuseNoHead(unwrapped.voxels, name);
  const double hertzPerRadian = 1 / (turn * seconds);
  for (int n = 0; n < unwrapped.radians.size(); ++n)
    unwrapped.radians.data()[n] =
        static_cast<float>(hertzPerRadian * static_cast<double>(unwrapped.radians.data()[n]));
  MeasuredField field = finished(std::move(unwrapped.radians), std::move(head), voxelMm,
                                 outlierTurns / std::abs(seconds));
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

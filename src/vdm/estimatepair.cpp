#include "vdm/estimatepair.h"

#include <cmath>

#include "numerics/volumegauss.h"
#include "vdm/simplevdmestimate.h"
#include "vdm/vdmestimate.h"

namespace mirel {

namespace {

const glm::dvec3 fastSigma(1.5, 1.5, 1.5);  // voxels

// Multiples of a single-precision unit, formed in single precision.
std::vector<float> multiples(float unit, int first, int last, int step) {
  std::vector<float> values;
  for (int k = first; k <= last; k += step) values.push_back(static_cast<float>(k) * unit);
  return values;
}

Volume<float> cube(int n) { return Volume<float>(n, n, n, 1.0f); }

}  // namespace

LevelSchedule makeLevelSchedule(const glm::dvec3& voxelSize) {
  const glm::dvec3 root(std::sqrt(voxelSize.x), std::sqrt(voxelSize.y), std::sqrt(voxelSize.z));
  LevelSchedule schedule;
  schedule.patterns = {cube(7), cube(5), cube(5)};
  schedule.amplitudes = {multiples(0.4f, -6, 6, 2), multiples(0.3f, -5, 5, 1),
                         multiples(0.15f, -5, 5, 1)};
  schedule.sigmas = {12.0 / root, 6.0 / root, 2.0 / root};
  return schedule;
}

Volume<float> estimatePair(const Volume<float>& first, const Volume<float>& second,
                           const glm::dvec3& voxelSize, const EstimateOptions& options,
                           std::ostream& log, const ReportDone& done) {
  const glm::dvec3 fitSigma(0.5, 4.0 / voxelSize.y, 0.5);
  if (options.fast) {
    Volume<float> vdm = simpleVDMestimate(first, second, fitSigma, log);
    applyGauss(vdm, fastSigma, glm::ivec3(0, 0, 0), true);
    return vdm;
  }
  const LevelSchedule schedule = makeLevelSchedule(voxelSize);
  return estimate_vdm(first, second, voxelSize, fitSigma, options.useSsd, schedule.patterns,
                      schedule.amplitudes, schedule.sigmas, options.intensityCorrection, log, done);
}

}  // namespace mirel

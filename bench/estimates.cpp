#include "estimates.h"

#include <sstream>
#include <stdexcept>

#include "reference/simplevdmestimate.h"
#include "reference/vdmestimate.h"
#include "reference/volumegauss.h"

namespace mirel {

namespace {

const glm::dvec3 voxelSize(2, 2, 2);

}  // namespace

EstimateOptions optionsNamed(const std::string& name) {
  for (const bool corrected : {false, true}) {
    const std::string ending = corrected ? "_corrected" : "";
    if (name == "ssd" + ending) return {/*fast=*/false, /*useSsd=*/true, corrected};
    if (name == "ncc" + ending) return {/*fast=*/false, /*useSsd=*/false, corrected};
  }
  if (name == "fast") return {/*fast=*/true, /*useSsd=*/false, false};
  throw std::invalid_argument("There is no estimate named " + name + ".");
}

Volume<float> estimateByEngine(const HeadPair& head, const EstimateOptions& options) {
  std::ostringstream log;
  return estimatePair(head.ap, head.pa, voxelSize, options, log);
}

Volume<float> estimateByReference(const HeadPair& head, const EstimateOptions& options) {
  std::ostringstream log;
  const glm::dvec3 fitSigma(0.5, 4.0 / voxelSize.y, 0.5);
  if (options.fast) {
    Volume<float> vdm = reference::simpleVDMestimate(head.ap, head.pa, fitSigma, log);
    reference::applyGauss(vdm, glm::dvec3(1.5, 1.5, 1.5), glm::ivec3(0, 0, 0), true);
    return vdm;
  }
  const LevelSchedule s = makeLevelSchedule(voxelSize);
  return reference::estimate_vdm(head.ap, head.pa, voxelSize, fitSigma, options.useSsd, s.patterns,
                                 s.amplitudes, s.sigmas, options.intensityCorrection, log);
}

}  // namespace mirel

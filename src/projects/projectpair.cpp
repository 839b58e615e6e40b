#include "projects/projectpair.h"

#include <cstdint>
#include <stdexcept>
#include <utility>

#include "files/project.h"
#include "numerics/volumegauss.h"
#include "projects/correct.h"

namespace mirel {

namespace {

/// In mm. The slice distance is summed in single precision.
glm::dvec3 voxelSize(const ProjectHeader& header) {
  return {header.InplaneResolutionX.value(), header.InplaneResolutionY.value(),
          header.SliceThickness.value() + header.SliceGap.value()};
}

const Volume<float>& chosenVolume(const Project& project, int index) {
  // A negative index is beyond the end, too, and named as the number that was compared.
  const auto position = static_cast<std::uint32_t>(index);
  if (position >= project.volumes().size())
    throw std::runtime_error("Cannot use volume " + std::to_string(position) + " of file " +
                             project.header().fileName + ", which has only " +
                             std::to_string(project.volumes().size()) + " volumes.");
  return project.volumes()[position];
}

Volume<float> estimate(const Project& project0, const Project& project1, const ProjectPair& pair,
                       const PairEstimator& estimator, std::ostream& log) {
  const Volume<float>& chosen0 = chosenVolume(project0, pair.volumes[0]);
  const Volume<float>& chosen1 = chosenVolume(project1, pair.volumes[1]);
  glm::dvec3 voxelMm = voxelSize(project0.header());
  if (pair.rllr) std::swap(voxelMm.x, voxelMm.y);
  log << "Estimating voxel displacement maps..." << std::flush;
  if (!pair.rllr) return estimator(chosen0, chosen1, voxelMm, log);
  return estimator(chosen0.transposeXY(), chosen1.transposeXY(), voxelMm, log);
}

void saveMaps(const Volume<float>& vdm, const Volume<float>& negated, const ProjectPair& pair,
              const MapWriter& saveMap) {
  saveMap(vdm, pair.rllr, 1.0f, 5.0f, vdm_filename(pair.files[0]));
  saveMap(negated, pair.rllr, 1.0f, 5.0f, vdm_filename(pair.files[1]));
  if (!pair.saveDerivative) return;
  const Volume<float> derivative = getSimpleYDerivative(vdm);
  saveMap(derivative, pair.rllr, 0.1f, 1.0f, vdmderiv_filename(pair.files[0]));
  saveMap(derivative * -1.0f, pair.rllr, 0.1f, 1.0f, vdmderiv_filename(pair.files[1]));
}

}  // namespace

void estimateProjectPair(const ProjectPair& pair, const PairEstimator& estimator,
                         const MapWriter& saveMap, std::ostream& log) {
  Project project0(pair.files[0], ProjectContent::withData);
  Project project1(pair.files[1], ProjectContent::withData);
  requireSameDimensions(volumeDimensions(project0), volumeDimensions(project1));
  const Volume<float> vdm = estimate(project0, project1, pair, estimator, log);
  const Volume<float> negated = vdm * -1.0f;
  log << "Saving voxel displacement maps to .map files..." << std::flush;
  saveMaps(vdm, negated, pair, saveMap);
  if (pair.applyToInput) {
    log << "Applying voxel displacement maps..." << std::flush;
    correctProject(vdm, project0, pair.rllr);
    correctProject(negated, project1, pair.rllr);
  }
  log << "Done." << std::flush;
}

}  // namespace mirel

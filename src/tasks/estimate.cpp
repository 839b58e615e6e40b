#include "tasks/estimate.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "files/filenames.h"
#include "files/mydmr.h"
#include "files/myfmr.h"
#include "hostapi/ztaccess.h"
#include "numerics/volumegauss.h"
#include "tasks/correct.h"
#include "tasks/datasets.h"
#include "vdm/estimatepair.h"
#include "vdm/vdmmap.h"

namespace mirel {

namespace {

struct Parameters {
  std::string files[2];
  int volumeIndex[2];
  bool rllr, useIc, useSsd, applyToInput, saveDerivative, fast;
};

Parameters readParameters() {
  Parameters p;
  p.files[0] = get_string_parameter("file0");
  p.files[1] = get_string_parameter("file1");
  p.volumeIndex[0] = get_int_parameter("volume0");
  p.volumeIndex[1] = get_int_parameter("volume1");
  p.rllr = get_bool_parameter("rllr");
  p.useIc = get_bool_parameter("use_ic");
  p.useSsd = get_bool_parameter("use_ssd");
  p.applyToInput = get_bool_parameter("apply_to_input");
  p.saveDerivative = get_bool_parameter("save_derivative");
  p.fast = get_bool_parameter("fast_algorithm");
  return p;
}

// One input project: an FMR, or else whatever the DMR reader makes of the file.
class Project {
 public:
  explicit Project(const std::string& name) : fileName(name) {
    if (hasExtension(name, "fmr"))
      fmr.emplace(name, /*loadData=*/true);
    else
      dmr.emplace(name, /*loadData=*/true);
  }

  const std::vector<Volume<float>>& volumes() const { return fmr ? fmr->stcData : dmr->dwiData; }

  glm::ivec3 dimensions() const { return firstVolume(volumes(), fileName).dimensions(); }

  /// In mm. The slice distance is summed in single precision.
  glm::dvec3 voxelSize() const { return fmr ? voxelSizeOf(*fmr) : voxelSizeOf(*dmr); }

  const Volume<float>& volume(int index) const {
    const std::uint32_t position = static_cast<std::uint32_t>(index);
    if (position >= volumes().size())
      throw std::runtime_error("Cannot use volume " + to_string(position) + " of file " + fileName +
                               ", which has only " +
                               to_string(static_cast<long long>(volumes().size())) + " volumes.");
    return volumes()[position];
  }

  void correct(const Volume<float>& vdm, bool rllr) {
    if (fmr)
      correct_fmr(vdm, *fmr, rllr);
    else
      correct_dmr(vdm, fileName, *dmr, rllr);
  }

 private:
  template <typename Header>
  static glm::dvec3 voxelSizeOf(const Header& header) {
    return {header.InplaneResolutionX.value(), header.InplaneResolutionY.value(),
            header.SliceThickness.value() + header.SliceGap.value()};
  }

  std::string fileName;
  std::optional<FMR> fmr;
  std::optional<DMR> dmr;
};

Volume<float> estimateProjects(const Project& project0, const Project& project1,
                               const Parameters& p, const PairEstimator& estimator,
                               std::ostream& log) {
  const Volume<float>& chosen0 = project0.volume(p.volumeIndex[0]);
  const Volume<float>& chosen1 = project1.volume(p.volumeIndex[1]);
  glm::dvec3 voxelSize = project0.voxelSize();
  if (p.rllr) std::swap(voxelSize.x, voxelSize.y);
  log << "Estimating voxel displacement maps..." << std::flush;
  if (!p.rllr) return estimator(chosen0, chosen1, voxelSize, log);
  return estimator(chosen0.transposeXY(), chosen1.transposeXY(), voxelSize, log);
}

// The method of the dialog parameters.
PairEstimator searchOf(const Parameters& p) {
  EstimateOptions options;
  options.fast = p.fast;
  options.useSsd = p.useSsd;
  options.intensityCorrection = p.useIc;
  return
      [options](const Volume<float>& first, const Volume<float>& second, const glm::dvec3& voxelMm,
                std::ostream& log) { return estimatePair(first, second, voxelMm, options, log); };
}

void saveMaps(const Volume<float>& vdm, const Volume<float>& negated, const Parameters& p) {
  saveMap(vdm, p.rllr, 1.0f, 5.0f, vdm_filename(p.files[0]));
  saveMap(negated, p.rllr, 1.0f, 5.0f, vdm_filename(p.files[1]));
  if (!p.saveDerivative) return;
  const Volume<float> derivative = getSimpleYDerivative(vdm);
  saveMap(derivative, p.rllr, 0.1f, 1.0f, vdmderiv_filename(p.files[0]));
  saveMap(derivative * -1.0f, p.rllr, 0.1f, 1.0f, vdmderiv_filename(p.files[1]));
}

void estimateWith(const Parameters& p, const PairEstimator& estimator, std::ostream& log) {
  Project project0(p.files[0]);
  Project project1(p.files[1]);
  requireSameDimensions(project0.dimensions(), project1.dimensions());
  const Volume<float> vdm = estimateProjects(project0, project1, p, estimator, log);
  const Volume<float> negated = vdm * -1.0f;
  log << "Saving voxel displacement maps to .map files..." << std::flush;
  saveMaps(vdm, negated, p);
  if (p.applyToInput) {
    log << "Applying voxel displacement maps..." << std::flush;
    project0.correct(vdm, p.rllr);
    project1.correct(negated, p.rllr);
  }
  log << "Done." << std::flush;
}

}  // namespace

void estimateFiles(std::ostream& log) {
  const Parameters p = readParameters();
  estimateWith(p, searchOf(p), log);
}

void estimateFiles(std::ostream& log, const PairEstimator& estimator) {
  estimateWith(readParameters(), estimator, log);
}

}  // namespace mirel

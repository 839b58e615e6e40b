#include "tasks/estimate.h"

#include "hostapi/ztaccess.h"
#include "projects/projectpair.h"
#include "vdm/estimatepair.h"
#include "vdm/vdmmap.h"

namespace mirel {

namespace {

struct Parameters {
  ProjectPair pair;
  EstimateOptions options;
};

Parameters readParameters() {
  Parameters p;
  p.pair.files[0] = get_string_parameter("file0");
  p.pair.files[1] = get_string_parameter("file1");
  p.pair.volumes[0] = get_int_parameter("volume0");
  p.pair.volumes[1] = get_int_parameter("volume1");
  p.pair.rllr = get_bool_parameter("rllr");
  p.options.intensityCorrection = get_bool_parameter("use_ic");
  p.options.useSsd = get_bool_parameter("use_ssd");
  p.pair.applyToInput = get_bool_parameter("apply_to_input");
  p.pair.saveDerivative = get_bool_parameter("save_derivative");
  p.options.fast = get_bool_parameter("fast_algorithm");
  return p;
}

}  // namespace

void estimateFiles(std::ostream& log) {
  const Parameters p = readParameters();
  const PairEstimator search = [&p](const Volume<float>& first, const Volume<float>& second,
                                    const glm::dvec3& voxelMm, std::ostream& text) {
    return estimatePair(first, second, voxelMm, p.options, text);
  };
  estimateProjectPair(p.pair, search, saveMap, log);
}

}  // namespace mirel

#pragma once

#include <string>
#include <vector>

#include "phantom/datasetplan.h"
#include "phantom/phantomsession.h"

namespace mirel {

/// One scan of a session as a dataset holds it.
struct SessionScan {
  std::string folder;    ///< "fmap", "func" or "dwi"
  std::string entities;  ///< behind subject and session: "task-rest_dir-AP"
  std::string suffix;    ///< "epi", "sbref", "bold" or "dwi"
  bool second = false;   ///< phase encoded as the second image of the pair
  double readoutSeconds = 0.0;
  double echoTimeSeconds = 0.0, repetitionTimeSeconds = 0.0;
  double noiseSigma = 0.0;
  PhantomScan content;
  nifti::GradientTable gradients;  ///< empty but for "dwi"

  bool isOfPair() const { return folder == "fmap"; }
  /// "func/sub-01_task-rest_dir-AP_bold", `prefix` being "sub-01".
  std::string stem(const std::string& prefix) const {
    return folder + "/" + prefix + "_" + entities + "_" + suffix;
  }
};

/// In the order in which they were taken: the pair, the series' reference (of half the noise) and
/// the series (neither for a series without volumes), the diffusion-weighted images, two volumes of
/// b = 0 in the opposite direction where the plan has them.
std::vector<SessionScan> scansOf(const SubjectPlan& plan, const PhantomSession& session);

}  // namespace mirel

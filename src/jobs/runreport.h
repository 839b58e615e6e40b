#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "jobs/runrecord.h"
#include "nifti/header.h"
#include "pair/pairestimate.h"
#include "pair/pairinput.h"

namespace mirel {

/// One series before and after its correction. All volumes are of its grid.
struct SeriesImages {
  const nifti::Header& header;
  const Volume<float>&meanBefore, &meanAfter;
  const Volume<float>& shift;  ///< that was applied, in voxels along its phase-encoding axis
  const SeriesRecord& record;
  const Json& origin;  ///< what its sidecar says about where it comes from (originOf)
};

/// Makes the page that a person looks at after a run. A job shows it the images as they come, so
/// that none is held for it, and takes its text at the end, as one of the job's outputs.
class RunReport {
 public:
  virtual ~RunReport() = default;

  /// Before anything is computed: what is to be doubted about what the page lays over an image.
  /// Errors  Error where nothing can be laid over it.
  virtual std::vector<Remark> check(const std::string& image, const nifti::Header& header) = 0;

  virtual void showPair(const PairInput& pair, const PairEstimate& estimate) = 0;
  virtual void showSeries(const SeriesImages& series) = 0;
  /// The whole page. `outputs` are the files that the run writes, `key` says which inputs it is of
  /// and stands in the page (ReportFile).
  virtual std::string text(const RunRecord& run, const std::vector<std::string>& outputs,
                           const std::string& key) = 0;
};

}  // namespace mirel

#pragma once

#include <string>
#include <vector>

#include "base/outputfolder.h"
#include "base/progress.h"
#include "field/fieldhz.h"
#include "jobs/runrecord.h"
#include "pair/pairestimate.h"

namespace mirel {

/// Names of a pair's results, without extension.
struct PairNames {
  std::string correctedA, correctedB, mean, voxels, mm;
  std::string field;  ///< empty where there is no readout time
  std::string warpA, warpB;

  /// By resultnames.h. An image that is one of several volumes has "preprocVolume3" or
  /// "preprocMeanOf5".
  static PairNames of(const PairInput& pair);
  /// The files that are written under them: images and their sidecars.
  std::vector<std::string> files() const;
};

/// Writes the results of a pair (correctPair says which), each with a sidecar that tells where it
/// comes from, into `folder`, where they were announced. `run` holds the pair's record.
/// Errors  those of nifti::Writer; what `progress` throws.
void writePair(const PairNames& names, const PairInput& pair, const PairEstimate& estimate,
               const RunRecord& run, OutputFolder& folder, Progress& progress);

}  // namespace mirel

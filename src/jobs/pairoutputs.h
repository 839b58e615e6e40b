#pragma once

#include <string>
#include <vector>

#include "base/outputfolder.h"
#include "base/progress.h"
#include "field/fieldhz.h"
#include "jobs/earlierresults.h"
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
  /// That of the field, whether this run has one or not.
  static std::string fieldOf(const PairInput& pair);
  /// What the page of the run is called when its plain name is taken: sub-01_desc-preproc, without
  /// "_report".
  static std::string reportStemOf(const PairInput& pair);
  /// All of them that are not empty.
  std::vector<std::string> all() const;
};

/// What all results of a pair are made of.
std::vector<ResultInput> resultInputsOf(const PairInput& pair);

/// The files that are written under a name: the image and its sidecar.
std::vector<std::string> filesNamed(const std::string& name);

/// Writes the results of a pair (correctPair says which), each with a sidecar that tells where it
/// comes from, into `folder`, where they were announced. `run` holds the pair's record, `sources`
/// names the files for it.
/// Errors  those of nifti::Writer; what `progress` throws.
void writePair(const PairNames& names, const PairInput& pair, const PairEstimate& estimate,
               const RunRecord& run, const SourceNames& sources, OutputFolder& folder,
               Progress& progress);

}  // namespace mirel

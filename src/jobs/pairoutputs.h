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

/// Which results of a pair are wanted, and how they differ by name from those of other pairs.
struct PairResults {
  /// The corrected images and their warps, too. Without them the field, the displacements and the
  /// mean: for a pair of volumes of series that are corrected as a whole.
  bool corrected = true;
  bool headMask = false;  ///< where the head is in the mean, too
  /// Where images are not written by cubic splines, the mean by these, too, which series that are
  /// corrected later are to be compared with (PairEstimate::meanToCompare).
  bool cubicMean = false;
  std::string label = {};  ///< goes into the descriptions of field, mean and displacements
};

/// Names of a pair's results, without extension; empty for those that are not wanted.
struct PairNames {
  std::string correctedA, correctedB, mean, voxels, mm;
  std::string field;  ///< empty where there is no readout time
  /// Of the field in Hz, or of the displacement where there is no readout time; empty where it is
  /// not wanted.
  std::string deviation;
  std::string headMask;
  std::string cubicMean;
  std::string warpA, warpB;

  /// By resultnames.h. An image that is one of several volumes has "preprocVolume3" or
  /// "preprocMeanOf5"; "preprocMeanOf5From7" where both images are as many volumes of one file.
  static PairNames of(const PairInput& pair, const EstimateSettings& settings,
                      const PairResults& wanted = {});
  /// That of the field, whether this run has one or not.
  static std::string fieldOf(const PairInput& pair, const PairResults& wanted = {});
  /// That of the mean by cubic splines, in the same way.
  static std::string cubicMeanOf(const PairInput& pair, const PairResults& wanted = {});
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

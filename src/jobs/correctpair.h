#pragma once

#include <string>
#include <vector>

#include "base/progress.h"
#include "jobs/pairoutputs.h"
#include "jobs/runrecord.h"
#include "jobs/runreport.h"
#include "jobs/seriesinput.h"

namespace mirel {

struct CorrectPairOptions {
  ImageOptions a, b;
  /// Further images of the session that the field is estimated from (groupImages).
  std::vector<std::string> more;
  /// A table that tells directions and readout times of both (pairByTable); may be empty.
  std::string acquisitionTable;
  /// Of the mass-preserving estimate: an image of weights on the pair's grid (readMask), and a
  /// field in Hz to start from (readStartingField). Each may be empty. Without an estimator the
  /// field is that of the pair.
  std::string maskFile, startingField;
  /// The field is what is most likely, too: the estimate departs from it as the images ask.
  bool startIsPrior = false;
  EstimateSettings estimate;
  /// Further images of the session to correct.
  std::vector<SeriesFile> series;
  /// Join two diffusion series of `series`, of opposite directions, into one (SeriesJoining).
  bool joinSeries = false;
  /// Of the series; modulation and interpolation are those of the estimate's settings.
  SeriesSettings seriesSettings;
  PairResults results;
  std::string outputFolder;
  bool overwrite = false;       ///< replace results that were made of other inputs
  std::string version;          ///< of the program, for the records
  RunReport* report = nullptr;  ///< makes the page of the run; null: there is none
  std::string reportStem;       ///< the page is called STEM_report.html; empty: report.html
};

/// The whole job of `mirel correct`: from a pair of images, and series of the same session, to a
/// folder of results. Writes, for A sub-01_dir-AP_epi and B sub-01_dir-PA_epi, each image with a
/// sidecar:
///
///   sub-01_dir-AP_desc-preproc_epi           the corrected pair, 32-bit floats
///   sub-01_dir-PA_desc-preproc_epi
///   sub-01_desc-preproc_magnitude            their mean before values are raised to 0
///                                            (belowzero.h)
///   sub-01_desc-preproc_fieldmap             the field in Hz; only where the readout time is known
///   sub-01_dir-AP_desc-voxels_vdm            A's map, in voxels along the axis (B has its
///                                            negative)
///   sub-01_dir-AP_desc-mm_vdm                the same in mm
///   sub-01_desc-uncertainty_fieldmap         the field's standard deviation in Hz, with the
///                                            settings' uncertainty
///   sub-01_desc-head_mask                    the head of the mean, with its cavities: 1 inside, 0
///                                            outside, where the results ask for it
///   sub-01_desc-cubic_magnitude              the mean by cubic splines, where the results ask for
///                                            it and the images are written otherwise
///   sub-01_dir-AP_from-orig_to-undistorted_mode-image_xfm
///   sub-01_dir-PA_from-orig_to-undistorted_mode-image_xfm
///                                            displacement fields for programs that compose
///                                            transforms (writeWarpLps)
///   RUN_desc-preproc_SUFFIX                  every series: see SeriesCorrection
///   sub-01_desc-restored_dwi                 two of them joined, with `joinSeries`: SeriesJoining
///   report.html                              the page of `report`: see ReportFile
///   dataset_description.json                 unless there is one, there or above (mayDescribe)
///
/// A field in Hz, or a mean by cubic splines, that an earlier run of the pair left is removed where
/// this run has none; other results of earlier runs that do not belong to these are named in a
/// warning (EarlierResults).
///
/// The field f in Hz is such that true(y) = I(y + f T) for an image encoded along "j" (or i, k)
/// with the readout time T, and I(y - f T) for "j-".
///
/// Errors  one sentence with the file and the fault; nothing was written. Besides those of
///         readPair, readMask, readStartingField, readSeriesOf and estimatePairMap: an output
///         folder that cannot be made or written to, an output that would overwrite an input, or a
///         result of other inputs unless `overwrite` says so; a full disk; what `progress` throws.
RunRecord correctPair(const CorrectPairOptions& options, Progress& progress);

}  // namespace mirel

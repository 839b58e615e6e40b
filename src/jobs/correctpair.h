#pragma once

#include <string>
#include <vector>

#include "field/signcheck.h"
#include "pair/pairestimate.h"
#include "pair/pairinput.h"

/// The whole job of `mirel correct`: from a pair of images, and series of the same session, to a
/// folder of results.
namespace mirel {

struct CorrectionOptions {
  ImageOptions a, b;
  EstimateSettings estimate;
  /// Further images to correct, with sidecar, direction and readout time as for the pair; their
  /// `volume` and `meanOfFirst` do not count.
  std::vector<ImageOptions> series;
  std::string outputFolder;
  bool floatOutput = false;  ///< of the series: 32-bit floats instead of their own data types
  int threads = 0;           ///< for the series; 0: as many as there are cores
  std::string version;       ///< of the program, for the records
};

/// What was found and done about one series.
struct SeriesResult {
  std::string file, output;
  std::vector<std::string> sidecarFiles;  ///< the farthest first
  bids::PhaseEncodingDirection direction;
  std::string directionSource;
  std::optional<bids::Readout> readout;
  int volumes = 0;
  bool resampledField = false;  ///< its grid is not that of the pair
  SignCheck signs;
};

struct CorrectionReport {
  PairInput pair;
  PairEstimate estimate;
  std::vector<SeriesResult> series;
  std::vector<std::string> notes, warnings;  ///< of all of it, in order
  std::vector<std::string> outputs;          ///< paths, in the order of their names below
};

/// Writes, for A sub-01_dir-AP_epi and B sub-01_dir-PA_epi, each image with a sidecar:
///
///   sub-01_dir-AP_desc-corrected_epi         the corrected pair, 32-bit floats
///   sub-01_dir-PA_desc-corrected_epi
///   sub-01_desc-correctedMean_epi            their mean
///   sub-01_desc-voxels_displacement          A's map, in voxels along the axis (B has its
///   negative) sub-01_desc-mm_displacement              the same in mm
///   sub-01_desc-estimated_fieldmap           the field in Hz; only where the readout time is known
///   sub-01_dir-AP_desc-warp_xfm              displacement fields for programs that compose
///   sub-01_dir-PA_desc-warp_xfm              transforms (writeWarpLps)
///   RUN_desc-corrected_SUFFIX                every series, in its own data type
///   dataset_description.json                 unless there is one
///
/// An image that is one of several volumes has "correctedVolume3" or "correctedMeanOf5". The
/// gradient files (.bvec, .bval) beside a series are copied under its new name.
///
/// The field f in Hz is such that true(y) = I(y + f T) for an image encoded along "j" (or i, k)
/// with the readout time T, and I(y - f T) for "j-".
///
/// @param progress  may throw to end the work; nothing is left behind then.
/// Errors  one sentence with the file and the fault; nothing was written. Besides those of
///         readPair and estimatePairMap: an output folder that cannot be made or written to, an
///         output that would overwrite an input, a full disk; for a series those of
///         correctSeries, a sidecar without the fields, and a grid other than the pair's
///         where no readout times are known.
CorrectionReport correctAll(const CorrectionOptions& options, const Progress& progress);

}  // namespace mirel

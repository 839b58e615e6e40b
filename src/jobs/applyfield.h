#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/progress.h"
#include "jobs/runrecord.h"
#include "jobs/seriesinput.h"

namespace mirel {

/// A displacement map for the grid of the series.
struct GivenMap {
  std::string file;
  Volume<float> shift;  ///< voxels along `axis`, applied forward; finite
  int axis = 1;         ///< 0, 1, 2
};

struct ApplyFieldOptions {
  std::string fieldFile;        ///< NIfTI, Hz
  std::optional<GivenMap> map;  ///< in place of the field
  /// With a map direction and readout time do not count.
  std::vector<SeriesFile> series;
  SeriesSettings seriesSettings;
  /// A folder; with one series also the name of an image (.nii, .nii.gz).
  std::string output;
  /// An undistorted image of the same head for the sign check; empty: none is made.
  std::string reference;
  bool overwrite = false;  ///< replace results that were made of other inputs
  std::string version;     ///< of the program, for the records
};

/// The job of `mirel apply` on images: series corrected with a field in Hz, or a displacement map,
/// that is there already. Writes for each series
///
///   RUN_desc-preproc_SUFFIX                       see SeriesCorrection
///   RUN_from-orig_to-undistorted_mode-image_xfm   with writeWarp
///
/// Direction and readout time come from the options, else from the sidecar of the series. A map is
/// applied as it stands: true(y) = I(y + shift(y)).
/// Errors  one sentence with the file and the fault, before anything is written: see readField,
///         readSeries and correctSeries; two outputs of one name; an output that would overwrite
///         an input, or a result of other inputs unless `overwrite` says so; what `progress`
///         throws.
RunRecord applyField(const ApplyFieldOptions& options, Progress& progress);

}  // namespace mirel

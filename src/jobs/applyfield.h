#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jobs/correctpair.h"

/// The job of `mirel apply` on images: series corrected with a field in Hz, or a displacement map,
/// that is there already.
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
  /// File, sidecar, direction and readout time of each; the rest does not count. With a map
  /// direction and readout time do not count either.
  std::vector<ImageOptions> series;
  /// A folder; with one series also the name of an image (.nii, .nii.gz).
  std::string output;
  Modulation modulation = Modulation::off;
  bool floatOutput = false;
  bool writeWarp = false;
  int threads = 0;
  /// An undistorted image of the same head for the sign check; empty: none is made.
  std::string reference;
  std::string version;
};

struct ApplyFieldReport {
  std::vector<SeriesResult> series;
  std::vector<std::string> notes, warnings, outputs;
};

/// Corrects every series through the field, which is resampled to its grid, and writes
///
///   RUN_desc-corrected_SUFFIX   in the data type of the series (or floats), with a sidecar that
///                               records field, direction, readout time, checksums and options;
///                               .bvec and .bval of the series are copied under the new name
///   RUN_desc-warp_xfm           with writeWarp: see writeWarpLps
///
/// Direction and readout time come from the options, else from the sidecar of the series. A map is
/// applied as it stands: true(y) = I(y + shift(y)).
/// Errors  one sentence with the file and the fault, before anything is written: see
///         readField and correctSeries; no direction or readout time known; a
///         series that lies elsewhere than the field, or of other dimensions than the map; two
///         outputs of one name; an output that would overwrite an input.
ApplyFieldReport applyField(const ApplyFieldOptions& options, const Progress& progress);

}  // namespace mirel

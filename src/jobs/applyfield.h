#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/progress.h"
#include "bids/units.h"
#include "jobs/mapseries.h"
#include "jobs/runrecord.h"
#include "jobs/runreport.h"
#include "jobs/seriesinput.h"

namespace mirel {

struct ApplyFieldOptions {
  /// A field, or a map in voxels or mm if its sidecar or `unit` says so: NIfTI.
  std::string fieldFile;
  std::string mapFile;             ///< in place of the field: a map, .map or NIfTI
  std::optional<bids::Unit> unit;  ///< of the values of either; nothing: readDistortionFile says
  GivenMap map;                    ///< about the map
  std::vector<SeriesFile> series;
  SeriesSettings seriesSettings;
  /// A folder; with one series also the name of an image (.nii, .nii.gz).
  std::string output;
  std::vector<Remark> doubts;  ///< about the field, of who estimated it: they go into the warnings
  /// An undistorted image of the same head for the sign check; empty: none is made.
  std::string reference;
  /// Motion within a series that an earlier run wrote goes where this one does not look for it, in
  /// place of a warning that it is old.
  bool removeOldMotion = false;
  bool overwrite = false;       ///< replace results that were made of other inputs
  std::string version;          ///< of the program, for the records
  RunReport* report = nullptr;  ///< makes the page of the run; null: there is none
  std::string reportStem;       ///< the page is called STEM_report.html; empty: report.html
};

/// The job of `mirel apply` on images: series corrected with a field, or a displacement map, that
/// is there already. Writes for each series
///
///   RUN_desc-preproc_SUFFIX                       see SeriesCorrection
///   RUN_from-orig_to-undistorted_mode-image_xfm   with writeWarp
///   report.html                                   the page of `report`: see ReportFile; beside one
///                                                 image of a name of its own NAME_report.html
///
/// Direction and readout time come from the options, else from the sidecar of the series. How a
/// map is applied: see settleMap.
/// Errors  one sentence with the file and the fault, before anything is written: see
///         readDistortionFile, readSeries, settleMap and correctSeries; two outputs of one name; an
///         output that would overwrite an input, or a result of other inputs unless `overwrite`
///         says so; what `progress` throws.
RunRecord applyField(const ApplyFieldOptions& options, Progress& progress);

}  // namespace mirel

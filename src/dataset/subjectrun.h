#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/progress.h"
#include "dataset/plantable.h"
#include "jobs/runrecord.h"
#include "jobs/runreport.h"

namespace mirel::dataset {

/// Makes the page of one job; called by several threads at a time.
using ReportMaker = std::function<std::unique_ptr<RunReport>()>;

/// How subjects are corrected.
struct RunSettings {
  std::string dataset, output;  ///< folders
  std::string version;          ///< of the program, for the records
  ReportMaker report;           ///< empty: no pages
  /// Of all images; those of pairs take the interpolation from them. Its threads are for the
  /// volumes of a series, and for the estimate of a pair.
  SeriesSettings series;
};

/// Gets sentences about a subject, one line each.
using Log = std::function<void(const std::string& line)>;

/// Corrects the images of a subject that are planned, by the jobs of `mirel correct` and `mirel
/// apply`: every field that one of them needs is estimated once, from its pair, and corrects them
/// all. Results stand in
///
///   OUT/sub-LABEL[/ses-LABEL]/fmap   those of the pair (correctPair)
///   OUT/sub-LABEL[/ses-LABEL]/func, dwi, perf, fmap   RUN_desc-preproc_SUFFIX
///
/// and beside each field and series a page, STEM_report.html.
/// Each pair, and each series, appears whole or not at all. What an earlier run made and is up to
/// date stays. The failure of one job is the outcome of its images and stops no other.
///
/// Errors  Cancelled; all others are outcomes.
void runSubject(SubjectResult& result, const RunSettings& settings, const Log& log,
                Progress& progress);

}  // namespace mirel::dataset

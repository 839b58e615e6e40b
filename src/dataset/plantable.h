#pragma once

#include <string>
#include <vector>

#include "base/json.h"
#include "dataset/plan.h"
#include "dataset/resultdoubt.h"
#include "jobs/runrecord.h"

namespace mirel::dataset {

/// What became of an image.
enum class Status {
  planned,      ///< nothing was done yet
  left,         ///< uncorrected: the plan has the reason
  notSelected,  ///< the user asked for others
  corrected,
  upToDate,  ///< an earlier run of this version made it of the same files
  failed,
};

/// "planned", "left", "not selected", "corrected", "up to date", "failed".
std::string nameOf(Status status);

struct Outcome {
  Status status = Status::planned;
  std::string reason;  ///< of a failure, or why it was not selected; empty: that of the plan
  std::string output;  ///< of what was corrected: its path from the output folder on
  std::vector<std::string> warnings = {};
  ResultDoubt doubt = {};  ///< about what was corrected, by this run or an earlier one
};

/// A plan and what became of it, image by image in the order of SubjectPlan::planned.
struct SubjectResult {
  SubjectPlan plan;
  std::vector<Outcome> outcomes;
  SeriesSettings settings;  ///< that its images are corrected with

  /// Nothing done yet: left where the plan has no field, else planned.
  static SubjectResult of(SubjectPlan plan, const SeriesSettings& settings);
  int count(Status status) const;
};

/// The plan as a table with a line of titles: image, status, field, sources, rule, reason, output,
/// warnings; with settings of motion within series or interpolation what these mean for each image,
/// too, under the title settings. Tabs within a text become blanks; what is empty is "n/a".
std::string planTsv(const SubjectResult& result);

/// The same for programs, with the warnings about the whole subject.
Json planJson(const SubjectResult& result);

/// The same for people: two lines per image, and one about settings.
std::string planText(const SubjectResult& result);

}  // namespace mirel::dataset

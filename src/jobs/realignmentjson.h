#pragma once

#include "base/json.h"
#include "jobs/runrecord.h"

namespace mirel {

/// What a sidecar says of looking for motion within a series: the reference volume, how many
/// volumes were compared and how many moved, those that were refused, with the reasons, those that
/// resemble the reference much less than most do, and those with the motion between; or why nothing
/// was looked for.
Json realignmentJson(const RealignmentRecord& found);

/// The same for the summary of a run.
Json realignmentSummary(const RealignmentRecord& found);

}  // namespace mirel

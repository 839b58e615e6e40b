#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jobs/runrecord.h"
#include "report/verdictpart.h"

namespace mirel::report {

/// What a paper says about a run, and what it cites; the numbers in brackets are places in the
/// list, from 1.
struct MethodsText {
  std::string paragraph;
  std::vector<std::string> references;
};

MethodsText methodsText(const RunRecord& run, const std::optional<MeasuredMap>& map);

}  // namespace mirel::report

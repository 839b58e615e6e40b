#pragma once

#include "base/progress.h"

namespace mirel {

/// Told nothing by a job that a test runs.
struct NoProgress : Progress {
  void at(Stage, double, const std::string&) override {}
};

inline NoProgress noProgress;

}  // namespace mirel

#pragma once

#include <functional>

#include "base/progress.h"
#include "jobs/runrecord.h"

namespace mirel {

/// How a run tells what it did.
struct RunOutput {
  bool quiet = false;   ///< nothing but warnings and errors
  bool json = false;    ///< a summary in place of the names of the files written
  bool strict = false;  ///< a result that is not to be trusted is a failure
};

/// Runs a job as a command does: with a progress bar, ended by Ctrl-C without leaving anything
/// behind, and its record told afterwards: what was found on standard error, the names of the files
/// written on standard output. Returns an exit status; a failure is the job's exception.
int runJob(const RunOutput& output, const std::function<RunRecord(Progress&)>& job);

}  // namespace mirel

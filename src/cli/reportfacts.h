#pragma once

#include <memory>
#include <string>

#include "jobs/runreport.h"

namespace mirel {

struct Program;

/// The words of a command line as a shell takes them: quoted where it needs that.
std::string commandText(int argc, const char* const* argv);

/// What makes the page of a run of this program: its command line, sentences with the advice of the
/// command line, date, duration and memory. `viewer`: with all slices to scroll through.
/// `anatomy`: an image whose head is outlined; empty: none.
/// Errors  those of report::readAnatomy.
std::unique_ptr<RunReport> reportOf(const Program& program, bool viewer,
                                    const std::string& anatomy);

/// The same of one of many jobs of a process, of which only date and duration are known.
std::unique_ptr<RunReport> jobReportOf(const Program& program, bool viewer);

}  // namespace mirel

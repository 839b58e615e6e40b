#pragma once

#include <csignal>
#include <functional>
#include <string>

#include "cli/commandline.h"
#include "cli/interrupt.h"

namespace mirel {

/// Exit statuses of the program.
enum ExitStatus : int {
  exitSuccess = 0,
  exitFailure = 1,  ///< an "Error: " was shown, or a check has findings
  exitUsage = 2,    ///< the command line was not understood
};

struct ExitMeaning {
  int status;
  const char* text;
};
/// What the manual says of them.
inline constexpr ExitMeaning exitMeanings[] = {
    {exitSuccess, "Everything was done. Warnings do not change the status."},
    {exitFailure,
     "One sentence on standard error says what is wrong, and nothing was written. Or the files\n"
     "were read and written, but a check has findings, or the verdict is not to trust the result\n"
     "and --strict was given."},
    {exitUsage, "The command line was not understood."},
    {exitStatusOf(SIGINT), "Interrupted (Ctrl-C). Nothing was written."},
    {exitStatusOf(SIGTERM), "Ended from outside (SIGTERM). Nothing was written."},
};

/// What the subcommands share. Each subcommand adds itself to the command line with its own
/// function; when it is the one that the user named, its callback leaves the work in `action`,
/// which the program runs after the command line is parsed.
struct Program {
  /// The line that was typed, for reports.
  std::string command;
  /// --plugin, empty for the plugin beside the program.
  std::string pluginFile;
  /// Returns an ExitStatus; a failure is an exception with a sentence.
  std::function<int()> action;
};

void addEstimateCommand(Command& app, Program& program);
void addApplyCommand(Command& app, Program& program);
void addFieldCommand(Command& app, Program& program);
void addCheckCommand(Command& app, Program& program);
void addSelectCommand(Command& app, Program& program);
void addInfoCommand(Command& app, Program& program);
void addCorrectCommand(Command& app, Program& program);
void addBidsCommand(Command& app, Program& program);
void addConvertCommand(Command& app, Program& program);
void addPhantomCommand(Command& app, Program& program);
void addPictureCommand(Command& app, Program& program);
void addCompareCommand(Command& app, Program& program);
/// Hidden: what an installation has beside the program, made from what the parser knows.
void addGenerateCommand(Command& app, Program& program);

/// All of them, in the order in which help lists them.
void addCommands(Command& app, Program& program);

}  // namespace mirel

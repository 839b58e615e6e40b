#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace mirel {

/// Exit statuses of the program.
enum ExitStatus : int {
  exitSuccess = 0,
  exitFailure = 1,  ///< an "Error: " was shown, or a check has findings
  exitUsage = 2,    ///< the command line was not understood
};

/// What the subcommands share. Each subcommand adds itself to the command line with its own
/// function; when it is the one that the user named, its callback leaves the work in `action`,
/// which the program runs after the command line is parsed.
struct Program {
  /// --plugin, empty for the plugin beside the program.
  std::string pluginFile;
  /// Returns an ExitStatus; a failure is an exception with a sentence.
  std::function<int()> action;
};

void addEstimateCommand(CLI::App& app, Program& program);
void addApplyCommand(CLI::App& app, Program& program);
void addFieldCommand(CLI::App& app, Program& program);
void addCheckCommand(CLI::App& app, Program& program);
void addSelectCommand(CLI::App& app, Program& program);
void addInfoCommand(CLI::App& app, Program& program);
void addCorrectCommand(CLI::App& app, Program& program);
void addConvertCommand(CLI::App& app, Program& program);
void addPhantomCommand(CLI::App& app, Program& program);
void addPictureCommand(CLI::App& app, Program& program);
void addCompareCommand(CLI::App& app, Program& program);

}  // namespace mirel

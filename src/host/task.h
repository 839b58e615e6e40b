#pragma once

#include <string>
#include <vector>

#include "host/outputs.h"
#include "host/pluginloader.h"

namespace mirel {

/// Runs one task of the plugin with the dialog parameters of `hostSession()`.
/// @return true when no message box appeared.
bool runTask(Plugin& plugin, const std::string& task);

/// Runs `task` on the project list `files` (parameter "files", one name a line): at once when the
/// list fits the plugin's text buffer, otherwise once per file, stopping after the first "Error: "
/// box as the plugin does within a list.
/// @return true when no message box appeared.
bool runTaskOnFiles(Plugin& plugin, const std::string& task, const std::vector<std::string>& files);

/// Prints the names of the expected files on standard output when all of them were written;
/// otherwise an "Error: " line per file that was not.
/// @return true when all were written.
bool reportOutputs(const ExpectedOutputs& outputs);

/// Errors   Error: an empty name, one that is longer than the plugin's text buffer, or one
///          with a line feed, which would be two names in a list.
void refuseImpossibleName(const std::string& fileName);

}  // namespace mirel

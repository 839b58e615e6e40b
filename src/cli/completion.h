#pragma once

#include <string>

#include "cli/commandlist.h"

namespace mirel {

/// Completion for shells: the names of commands, of options, and of values that are words; nothing
/// for numbers; files for all else.

/// A script for bash, to be read by it or installed as PROGRAM in bash-completion/completions.
std::string bashCompletionOf(const ListedCommand& program);

/// A function file for zsh, to be installed as _PROGRAM in a folder of its fpath.
std::string zshCompletionOf(const ListedCommand& program);

}  // namespace mirel

#pragma once

#include <string>

#include "cli/commandlist.h"

namespace mirel {

/// The manual page of the program, section 1, in the macros of man(7).
///
/// version  the text at the foot of the page, "mirel 1.2.3"
std::string manualOf(const ListedCommand& program, const std::string& version);

/// The manual page of one of its commands, which is called PROGRAM-COMMAND.
std::string manualOf(const ListedCommand& program, const ListedCommand& command,
                     const std::string& version);

}  // namespace mirel

#pragma once

#include <string>
#include <vector>

namespace mirel {

/// The words of a text, line by line, parted by blanks, tabs, commas and carriage returns; lines
/// without any are left out.
std::vector<std::vector<std::string>> wordsByLine(const std::string& text);

}  // namespace mirel

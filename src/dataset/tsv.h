#pragma once

#include <string>
#include <vector>

namespace mirel::dataset {

/// A line of a tab-separated table as the standard has them, with its line feed: tabs and line ends
/// within a cell become blanks, an empty cell is "n/a".
std::string tsvLine(const std::vector<std::string>& cells);

}  // namespace mirel::dataset

#pragma once

#include <string>

namespace mirel {

/// Corrects the pair and the series of the brain set by the whole of "mirel correct" and holds the
/// results against the images corrected with the measured field. `folder` holds the data.
void printSeriesAccuracy(const std::string& folder);

}  // namespace mirel

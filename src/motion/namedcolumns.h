#pragma once

#include <string>
#include <vector>

namespace mirel {

/// Refuses a table whose first row names its columns, as of regressors (BIDS
/// _desc-confounds_timeseries.tsv): those of the head's motion do not tell the point that it turns
/// about, nor their direction. What to give instead are the transforms that fMRIPrep writes beside
/// it; they are named where they are there.
///
/// @param words  of a table, row by row
/// Errors  Error, naming the file: no word of the first row is a number.
void refuseNamedColumns(const std::vector<std::vector<std::string>>& words,
                        const std::string& fileName);

}  // namespace mirel

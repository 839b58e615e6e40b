#pragma once

#include <string>
#include <vector>

namespace mirel {

/// What in a project's header is read otherwise than it looks, one sentence each: counts and sizes
/// that are no whole numbers ("1e9" is read as 1), and a DataType other than 1 (16-bit integers)
/// and 2 (32-bit floats), whose data count as 16-bit integers; or saved otherwise: one of them at
/// the end of the file (ProjectHeader). Empty for a file that is no text of
/// 1 MB at most.
std::vector<std::string> doubtsAboutHeader(const std::string& projectFile);

/// Errors   Error for such a DataType: what its data are is not known.
void refuseUnknownDataType(const std::string& projectFile);

}  // namespace mirel

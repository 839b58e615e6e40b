#pragma once

#include <string>

namespace mirel {

/// True when both names lead to the same file, whether or not it exists: folders are resolved
/// ("./run1.fmr" is "run1.fmr"), and existing files are compared as the system sees them.
bool sameFile(const std::string& a, const std::string& b);

/// Throws Error when `output` is the file `input`.
void refuseOverwrite(const std::string& output, const std::string& input);

}  // namespace mirel

#pragma once

#include <string>

namespace mirel {

/// A number in a format of printf with one double, "%.3f": at most 99 characters.
std::string text(const char* format, double value);

/// A number as messages spell it: six digits at most.
inline std::string text(double value) { return text("%.6g", value); }

}  // namespace mirel

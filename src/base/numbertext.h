#pragma once

#include <string>

namespace mirel {

/// A number in a format of printf with one double, "%.3f": at most 99 characters.
std::string text(const char* format, double value);

/// A number as messages spell it: six digits at most.
inline std::string text(double value) { return text("%.6g", value); }

/// How many there are of something that has its plural in "s": "1 volume", "3 volumes".
template <typename Integer>
std::string counted(Integer count, const std::string& one) {
  return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

/// The same of an amount in a format of printf: "0.5 voxels", and "1 voxel" where it is spelt 1.
std::string counted(const char* format, double amount, const std::string& one);

}  // namespace mirel

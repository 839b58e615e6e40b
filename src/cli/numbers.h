#pragma once

#include <cstdlib>
#include <string>

namespace mirel {

/// Checks of option values: empty, or a sentence about what is wrong. The parser's own checks of
/// this kind name limits with all the digits of the largest double.

inline std::string refuseBelow(int least, const std::string& text) {
  const bool digits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
  if (digits && text.size() < 10 && std::atoi(text.c_str()) >= least) return "";
  return text + " is not a whole number of " + std::to_string(least) + " or more";
}

inline std::string refuseNotPositive(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  return *end == '\0' && value > 0 && value < 1e30 ? "" : text + " is not a positive number";
}

}  // namespace mirel

#pragma once

#include <string>
#include <vector>

namespace mirel {

/// Texts one after the other: "a, b, c". Empty ones keep their places.
inline std::string joined(const std::vector<std::string>& texts, const char* between = ", ") {
  std::string all;
  for (std::size_t n = 0; n < texts.size(); ++n) all += (n == 0 ? "" : between) + texts[n];
  return all;
}

}  // namespace mirel

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

/// Ascending numbers, consecutive ones as a range: "3 to 9, 12".
template <typename Integer>
std::string rangesOf(const std::vector<Integer>& numbers) {
  std::vector<std::string> ranges;
  for (std::size_t k = 0; k < numbers.size(); ++k) {
    const Integer first = numbers[k];
    while (k + 1 < numbers.size() && numbers[k + 1] == numbers[k] + 1) ++k;
    ranges.push_back(std::to_string(first));
    if (numbers[k] > first) ranges.back() += " to " + std::to_string(numbers[k]);
  }
  return joined(ranges);
}

/// Those of something that has its plural in "s": "slice 12", "slices 3 to 9, 12".
template <typename Integer>
std::string namedRanges(const std::string& one, const std::vector<Integer>& numbers) {
  return one + (numbers.size() == 1 ? " " : "s ") + rangesOf(numbers);
}

}  // namespace mirel

#pragma once

#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

/// Helpers that the three containers share.
namespace mirel::extent {

/// Throws std::length_error, with the sizes in its text, unless the sizes are not negative and
/// their product fits a signed 32-bit integer (the range of every index in the program).
inline void check(const char* container, int a, int b = 1, int c = 1) {
  const bool fits = a >= 0 && b >= 0 && c >= 0 &&
                    static_cast<long long>(a) * b <= std::numeric_limits<int>::max() &&
                    static_cast<long long>(a) * b * c <= std::numeric_limits<int>::max();
  if (!fits)
    throw std::length_error(std::string(container) + " sizes " + std::to_string(a) + " x " +
                            std::to_string(b) + " x " + std::to_string(c) + " are not possible");
}

/// Storage for `count` elements, not initialised; null for none.
template <typename T>
std::unique_ptr<T[]> allocate(int count) {
  if (count == 0) return nullptr;
  return std::unique_ptr<T[]>(new T[static_cast<std::size_t>(count)]);
}

/// Whole-sample symmetric reflection of index `i` into 0 .. n-1 (the edge sample is not
/// repeated): for n = 4 the indices -2 .. 7 map to 2 1 0 1 2 3 2 1 0 1. 0 for n of 1 or less.
inline int mirrorIndex(int i, int n) {
  if (n <= 1) return 0;
  const long long period = 2LL * n - 2;
  const long long r = std::llabs(static_cast<long long>(i)) % period;
  return static_cast<int>(r < n ? r : period - r);
}

}  // namespace mirel::extent

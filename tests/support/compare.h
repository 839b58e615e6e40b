#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "containers/matrix.h"
#include "containers/vector.h"
#include "containers/volume.h"

/// Comparison to the bit, in which any NaN equals any NaN. A failure tells the first difference
/// and how many there are.
namespace mirel::compare {

template <typename T>
bool sameBits(T a, T b) {
  if (a != a) return b != b;
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <typename T>
testing::AssertionResult sameElements(const T* a, const T* b, std::size_t count) {
  std::size_t differences = 0, first = 0;
  for (std::size_t i = count; i-- > 0;)
    if (!sameBits(a[i], b[i])) {
      first = i;
      ++differences;
    }
  if (differences == 0) return testing::AssertionSuccess();
  testing::AssertionResult failure = testing::AssertionFailure();
  failure << differences << " of " << count << " elements differ, first at linear index " << first
          << ": ";
  std::ostringstream values;
  values.precision(std::numeric_limits<T>::max_digits10);
  values << a[first] << " against " << b[first];
  return failure << values.str();
}

template <typename T>
testing::AssertionResult same(const Volume<T>& a, const Volume<T>& b) {
  if (a.dimensions() != b.dimensions())
    return testing::AssertionFailure() << "dimensions " << a.nx() << "x" << a.ny() << "x" << a.nz()
                                       << " against " << b.nx() << "x" << b.ny() << "x" << b.nz();
  return sameElements(a.data(), b.data(), static_cast<std::size_t>(a.size()));
}

template <typename T>
testing::AssertionResult same(const Matrix<T>& a, const Matrix<T>& b) {
  if (a.dimensions() != b.dimensions())
    return testing::AssertionFailure() << "sizes " << a.rows() << "x" << a.columns() << " against "
                                       << b.rows() << "x" << b.columns();
  return sameElements(a.data(), b.data(), static_cast<std::size_t>(a.size()));
}

template <typename T>
testing::AssertionResult same(const Vector<T>& a, const Vector<T>& b) {
  if (a.size() != b.size())
    return testing::AssertionFailure() << "sizes " << a.size() << " against " << b.size();
  return sameElements(a.data(), b.data(), static_cast<std::size_t>(a.size()));
}

template <typename T>
testing::AssertionResult same(const std::vector<T>& a, const std::vector<T>& b) {
  if (a.size() != b.size())
    return testing::AssertionFailure() << "sizes " << a.size() << " against " << b.size();
  return sameElements(a.data(), b.data(), a.size());
}

inline testing::AssertionResult same(double a, double b) { return sameElements(&a, &b, 1); }

/// Succeeds when `call` throws std::logic_error with exactly the text `text`.
template <typename Call>
testing::AssertionResult failsAssertion(Call call, const char* text) {
  try {
    call();
  } catch (const std::logic_error& error) {
    if (std::strcmp(error.what(), text) == 0) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the text is \"" << error.what() << "\"";
  }
  return testing::AssertionFailure() << "nothing was thrown";
}

}  // namespace mirel::compare

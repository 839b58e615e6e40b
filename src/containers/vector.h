#pragma once

#include <iosfwd>
#include <memory>

#include "containers/extent.h"

namespace mirel {

/// Dense 1-D array, for float and double: image columns and coordinate lists.
///
/// As for `Volume`, only `get` and `linear` are defined outside the vector, two-operand
/// operations walk the left operand and the right one must be at least as long, a moved-from
/// vector keeps its size without storage, and impossible sizes throw std::length_error.
template <typename T>
class Vector {
 public:
  Vector() = default;
  /// Elements are not initialised.
  explicit Vector(int n);
  Vector(int n, T value);
  Vector(const Vector& other);
  Vector(Vector&& other) noexcept;
  Vector& operator=(const Vector& other);
  Vector& operator=(Vector&& other) noexcept;
  ~Vector() = default;

  void setAll(T value);
  void copyData(const T* src);
  /// An equal count keeps the elements; any other allocates anew, not initialised.
  void resize(int n);

  int size() const { return count; }
  std::size_t sizeInBytes() const { return static_cast<std::size_t>(count) * sizeof(T); }
  T* data() { return elements.get(); }
  const T* data() const { return elements.get(); }

  T& operator[](int i) { return elements[static_cast<std::size_t>(i)]; }
  const T& operator[](int i) const { return elements[static_cast<std::size_t>(i)]; }
  T get(int i, T defaultValue) const { return i >= 0 && i < count ? (*this)[i] : defaultValue; }
  /// The element at the reflected index; 0 for an empty vector.
  T mirror(int i) const { return count == 0 ? T(0) : (*this)[mirrorIndex(i)]; }
  int mirrorIndex(int i) const { return extent::mirrorIndex(i, count); }
  /// Linear interpolation (x - x0)*b + (x1 - x)*a between the samples a at x0 and b at x1;
  /// samples outside count as 0. NaN and infinite positions give 0.
  T linear(float x) const;

  Vector operator+() const { return *this; }
  Vector operator-() const;
  Vector operator+(T value) const;
  Vector operator-(T value) const;
  Vector operator*(T value) const;
  Vector operator/(T value) const;
  Vector& operator+=(T value);
  Vector& operator-=(T value);
  Vector& operator*=(T value);
  Vector& operator/=(T value);
  Vector operator+(const Vector& other) const;
  Vector operator-(const Vector& other) const;
  Vector operator*(const Vector& other) const;
  Vector operator/(const Vector& other) const;
  Vector& operator+=(const Vector& other);
  Vector& operator-=(const Vector& other);
  Vector& operator*=(const Vector& other);
  Vector& operator/=(const Vector& other);

  bool operator==(const Vector& other) const;
  bool operator!=(const Vector& other) const { return !(*this == other); }
  /// Sum of this[i]*b[i], in order, starting from the product at 0; 0 for an empty vector.
  T dot(const Vector& b) const;
  /// Running extreme from element 0: NaN elements after the first are skipped. 0 when empty.
  T min() const;
  T max() const;

 private:
  int count = 0;
  std::unique_ptr<T[]> elements;
};

/// "[1 2 ... 4]": of more than three elements the first two and the last.
template <typename T>
std::ostream& operator<<(std::ostream& os, const Vector<T>& vector);

extern template class Vector<float>;
extern template class Vector<double>;

}  // namespace mirel

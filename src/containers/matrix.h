#pragma once

#include <glm/vec2.hpp>
#include <iosfwd>
#include <memory>

#include "containers/extent.h"
#include "containers/vector.h"

namespace mirel {

/// Dense 2-D array, for float and double, column-major: element (i, j), row i and column j,
/// lives at j*rows + i, so the row index runs fastest.
///
/// As for `Volume`, only `get` is defined outside the matrix, two-operand operations walk the
/// left operand and make no size check, a moved-from matrix keeps its sizes without storage, and
/// impossible sizes throw std::length_error.
template <typename T>
class Matrix {
 public:
  Matrix() = default;
  /// Elements are not initialised. Component 0 is the number of rows, component 1 of columns.
  explicit Matrix(glm::ivec2 dims);
  Matrix(int rows, int columns) : Matrix(glm::ivec2(rows, columns)) {}
  Matrix(glm::ivec2 dims, T value);
  Matrix(int rows, int columns, T value) : Matrix(glm::ivec2(rows, columns), value) {}
  Matrix(const Matrix& other);
  Matrix(Matrix&& other) noexcept;
  Matrix& operator=(const Matrix& other);
  Matrix& operator=(Matrix&& other) noexcept;
  ~Matrix() = default;

  /// The n x n matrix with 1 on the diagonal and 0 elsewhere.
  static Matrix identity(int n);

  void setAll(T value);
  void copyData(const T* src);
  /// An equal element count keeps the stored sequence under the new sizes; any other allocates
  /// anew, not initialised.
  void resize(glm::ivec2 dims);
  void resize(int rows, int columns) { resize(glm::ivec2(rows, columns)); }

  glm::ivec2 dimensions() const { return dims; }
  int rows() const { return dims[0]; }
  int columns() const { return dims[1]; }
  int size() const { return dims[0] * dims[1]; }
  std::size_t sizeInBytes() const { return static_cast<std::size_t>(size()) * sizeof(T); }
  T* data() { return elements.get(); }
  const T* data() const { return elements.get(); }

  int index(glm::ivec2 p) const { return p[1] * dims[0] + p[0]; }
  int index(int i, int j) const { return j * dims[0] + i; }
  T& operator[](glm::ivec2 p) { return elements[static_cast<std::size_t>(index(p))]; }
  const T& operator[](glm::ivec2 p) const { return elements[static_cast<std::size_t>(index(p))]; }
  T& at(int i, int j) { return elements[static_cast<std::size_t>(index(i, j))]; }
  const T& at(int i, int j) const { return elements[static_cast<std::size_t>(index(i, j))]; }
  T get(glm::ivec2 p, T defaultValue) const { return get(p[0], p[1], defaultValue); }
  T get(int i, int j, T defaultValue) const {
    const bool inside = i >= 0 && i < rows() && j >= 0 && j < columns();
    return inside ? at(i, j) : defaultValue;
  }
  /// The element at the reflected position; 0 for an empty matrix.
  T mirror(glm::ivec2 p) const { return mirror(p[0], p[1]); }
  T mirror(int i, int j) const {
    return size() == 0 ? T(0) : at(mirrorIndex(i, rows()), mirrorIndex(j, columns()));
  }
  static int mirrorIndex(int i, int n) { return extent::mirrorIndex(i, n); }

  Matrix operator+() const { return *this; }
  Matrix operator-() const;
  Matrix operator*(T value) const;
  Matrix operator/(T value) const;
  Matrix& operator*=(T value);
  Matrix& operator/=(T value);
  Matrix operator+(const Matrix& other) const;
  Matrix operator-(const Matrix& other) const;
  Matrix& operator+=(const Matrix& other);
  Matrix& operator-=(const Matrix& other);

  /// Matrix product; element (i, j) adds this(i, l)*b(l, j) in order of l, in T.
  Matrix operator*(const Matrix& b) const;
  Matrix& operator*=(const Matrix& b);
  /// Matrix times vector; element i adds this(i, l)*v[l] in order of l, in T.
  Vector<T> operator*(Vector<T> v) const;
  Matrix transpose() const;
  void transposeInPlace();

  bool operator==(const Matrix& other) const;
  bool operator!=(const Matrix& other) const { return !(*this == other); }

 private:
  glm::ivec2 dims{0, 0};
  std::unique_ptr<T[]> elements;
};

/// A bounded dump, at most the first and last ten rows and columns where there are more than
/// twenty. What it shows at row i, column j is the stored element i + j: with more than one row
/// and column that is not element (i, j).
template <typename T>
std::ostream& operator<<(std::ostream& os, const Matrix<T>& matrix);

extern template class Matrix<float>;
extern template class Matrix<double>;

}  // namespace mirel

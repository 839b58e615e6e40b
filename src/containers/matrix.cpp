#include "containers/matrix.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "containers/shown.h"

namespace mirel {

template <typename T>
Matrix<T>::Matrix(glm::ivec2 d) {
  extent::check("Matrix", d[0], d[1]);
  dims = d;
  elements = extent::allocate<T>(size());
}

template <typename T>
Matrix<T>::Matrix(glm::ivec2 d, T value) : Matrix(d) {
  setAll(value);
}

template <typename T>
Matrix<T>::Matrix(const Matrix& other) : Matrix(other.dims) {
  if (other.elements) copyData(other.data());
}

template <typename T>
Matrix<T>::Matrix(Matrix&& other) noexcept
    : dims(other.dims), elements(std::move(other.elements)) {}

template <typename T>
Matrix<T>& Matrix<T>::operator=(const Matrix& other) {
  if (this == &other) return *this;
  resize(other.dims);
  if (other.elements) copyData(other.data());
  return *this;
}

template <typename T>
Matrix<T>& Matrix<T>::operator=(Matrix&& other) noexcept {
  if (this == &other) return *this;
  dims = other.dims;
  elements = std::move(other.elements);
  return *this;
}

template <typename T>
Matrix<T> Matrix<T>::identity(int n) {
  Matrix result(n, n, T(0));
  for (int i = 0; i < n; ++i) result.at(i, i) = T(1);
  return result;
}

template <typename T>
void Matrix<T>::setAll(T value) {
  std::fill_n(data(), size(), value);
}

template <typename T>
void Matrix<T>::copyData(const T* src) {
  std::copy_n(src, size(), data());
}

template <typename T>
void Matrix<T>::resize(glm::ivec2 d) {
  extent::check("Matrix", d[0], d[1]);
  if (d[0] * d[1] == size() && (elements || size() == 0))
    dims = d;
  else
    *this = Matrix(d);
}

template <typename T>
Matrix<T> Matrix<T>::operator-() const {
  Matrix result(dims);
  std::transform(data(), data() + size(), result.data(), [](T a) { return -a; });
  return result;
}

template <typename T>
Matrix<T>& Matrix<T>::operator*=(T value) {
  for (int i = 0; i < size(); ++i) data()[i] *= value;
  return *this;
}

template <typename T>
Matrix<T>& Matrix<T>::operator/=(T value) {
  for (int i = 0; i < size(); ++i) data()[i] /= value;
  return *this;
}

template <typename T>
Matrix<T>& Matrix<T>::operator+=(const Matrix& other) {
  for (int i = 0; i < size(); ++i) data()[i] += other.data()[i];
  return *this;
}

template <typename T>
Matrix<T>& Matrix<T>::operator-=(const Matrix& other) {
  for (int i = 0; i < size(); ++i) data()[i] -= other.data()[i];
  return *this;
}

template <typename T>
Matrix<T> Matrix<T>::operator*(T value) const {
  return Matrix(*this) *= value;
}

template <typename T>
Matrix<T> Matrix<T>::operator/(T value) const {
  return Matrix(*this) /= value;
}

template <typename T>
Matrix<T> Matrix<T>::operator+(const Matrix& other) const {
  return Matrix(*this) += other;
}

template <typename T>
Matrix<T> Matrix<T>::operator-(const Matrix& other) const {
  return Matrix(*this) -= other;
}

template <typename T>
Matrix<T> Matrix<T>::operator*(const Matrix& b) const {
  Matrix result(rows(), b.columns(), T(0));
  if (columns() == 0) return result;
  for (int j = 0; j < b.columns(); ++j)
    for (int i = 0; i < rows(); ++i) {
      T sum = at(i, 0) * b.at(0, j);
      for (int l = 1; l < columns(); ++l) sum += at(i, l) * b.at(l, j);
      result.at(i, j) = sum;
    }
  return result;
}

template <typename T>
Matrix<T>& Matrix<T>::operator*=(const Matrix& b) {
  return *this = *this * b;
}

template <typename T>
Vector<T> Matrix<T>::operator*(Vector<T> v) const {
  Vector<T> result(rows(), T(0));
  if (columns() == 0) return result;
  for (int i = 0; i < rows(); ++i) {
    T sum = at(i, 0) * v[0];
    for (int l = 1; l < columns(); ++l) sum += at(i, l) * v[l];
    result[i] = sum;
  }
  return result;
}

template <typename T>
Matrix<T> Matrix<T>::transpose() const {
  Matrix result(columns(), rows());
  for (int j = 0; j < columns(); ++j)
    for (int i = 0; i < rows(); ++i) result.at(j, i) = at(i, j);
  return result;
}

template <typename T>
void Matrix<T>::transposeInPlace() {
  if (rows() != columns()) {
    *this = transpose();
    return;
  }
  for (int j = 0; j < columns(); ++j)
    for (int i = 0; i < j; ++i) std::swap(at(i, j), at(j, i));
}

template <typename T>
bool Matrix<T>::operator==(const Matrix& other) const {
  return dims == other.dims && std::equal(data(), data() + size(), other.data());
}

namespace {

constexpr Shown shownOfMatrix{10, 10};

}  // namespace

template <typename T>
std::ostream& operator<<(std::ostream& os, const Matrix<T>& m) {
  if (m.size() == 0) return os << "empty matrix";
  os << "matrix (" << m.rows() << "x" << m.columns() << "):";
  const auto writeRow = [&](int i) {
    os << "\n  [";
    forShown(
        m.columns(), shownOfMatrix, [&](int j) { os << (j == 0 ? "" : " ") << m.data()[i + j]; },
        [&] { os << " ..."; });
    os << "]";
  };
  forShown(m.rows(), shownOfMatrix, writeRow, [&] { os << "\n   ..."; });
  return os;
}

template class Matrix<float>;
template class Matrix<double>;
template std::ostream& operator<<(std::ostream&, const Matrix<float>&);
template std::ostream& operator<<(std::ostream&, const Matrix<double>&);

}  // namespace mirel

#include "containers/vector.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace mirel {

template <typename T>
Vector<T>::Vector(int n) {
  extent::check("Vector", n);
  count = n;
  elements = extent::allocate<T>(n);
}

template <typename T>
Vector<T>::Vector(int n, T value) : Vector(n) {
  setAll(value);
}

template <typename T>
Vector<T>::Vector(const Vector& other) : Vector(other.count) {
  if (other.elements) copyData(other.data());
}

template <typename T>
Vector<T>::Vector(Vector&& other) noexcept
    : count(other.count), elements(std::move(other.elements)) {}

template <typename T>
Vector<T>& Vector<T>::operator=(const Vector& other) {
  if (this == &other) return *this;
  resize(other.count);
  if (other.elements) copyData(other.data());
  return *this;
}

template <typename T>
Vector<T>& Vector<T>::operator=(Vector&& other) noexcept {
  if (this == &other) return *this;
  count = other.count;
  elements = std::move(other.elements);
  return *this;
}

template <typename T>
void Vector<T>::setAll(T value) {
  std::fill_n(data(), count, value);
}

template <typename T>
void Vector<T>::copyData(const T* src) {
  std::copy_n(src, count, data());
}

template <typename T>
void Vector<T>::resize(int n) {
  if (n == count && (elements || n == 0)) return;
  *this = Vector(n);
}

template <typename T>
T Vector<T>::linear(float x) const {
  // Also keeps positions that an int cannot hold from being converted.
  if (!(x >= -1.0f && x < static_cast<float>(count))) return T(0);
  const int x0 = static_cast<int>(x + 2.0f) - 2;
  const int x1 = x0 + 1;
  const T a = get(x0, T(0)), b = get(x1, T(0));
  return (x - static_cast<float>(x0)) * b + (static_cast<float>(x1) - x) * a;
}

template <typename T>
Vector<T> Vector<T>::operator-() const {
  Vector result(count);
  std::transform(data(), data() + count, result.data(), [](T a) { return -a; });
  return result;
}

#define MIREL_VECTOR_OPERATOR(op)                                        \
  template <typename T>                                                  \
  Vector<T>& Vector<T>::operator op##=(T value) {                        \
    for (int i = 0; i < count; ++i) (*this)[i] = (*this)[i] op value;    \
    return *this;                                                        \
  }                                                                      \
  template <typename T>                                                  \
  Vector<T>& Vector<T>::operator op##=(const Vector& other) {            \
    for (int i = 0; i < count; ++i) (*this)[i] = (*this)[i] op other[i]; \
    return *this;                                                        \
  }                                                                      \
  template <typename T>                                                  \
  Vector<T> Vector<T>::operator op(T value) const {                      \
    return Vector(*this).operator op##=(value);                          \
  }                                                                      \
  template <typename T>                                                  \
  Vector<T> Vector<T>::operator op(const Vector& other) const {          \
    return Vector(*this).operator op##=(other);                          \
  }

MIREL_VECTOR_OPERATOR(+)
MIREL_VECTOR_OPERATOR(-)
MIREL_VECTOR_OPERATOR(*)
MIREL_VECTOR_OPERATOR(/)
#undef MIREL_VECTOR_OPERATOR

template <typename T>
bool Vector<T>::operator==(const Vector& other) const {
  return count == other.count && std::equal(data(), data() + count, other.data());
}

template <typename T>
T Vector<T>::dot(const Vector& b) const {
  if (count == 0) return T(0);
  T sum = (*this)[0] * b[0];
  for (int i = 1; i < count; ++i) sum += (*this)[i] * b[i];
  return sum;
}

template <typename T>
T Vector<T>::min() const {
  return count == 0 ? T(0) : *std::min_element(data(), data() + count);
}

template <typename T>
T Vector<T>::max() const {
  return count == 0 ? T(0) : *std::max_element(data(), data() + count);
}

template <typename T>
std::ostream& operator<<(std::ostream& os, const Vector<T>& v) {
  os << "[";
  for (int i = 0; i < v.size(); ++i) {
    os << (i == 0 ? "" : " ") << v[i];
    if (i == 1 && v.size() - 1 > 2) {
      os << " ...";
      i = v.size() - 2;
    }
  }
  return os << "]";
}

template class Vector<float>;
template class Vector<double>;
template std::ostream& operator<<(std::ostream&, const Vector<float>&);
template std::ostream& operator<<(std::ostream&, const Vector<double>&);

}  // namespace mirel

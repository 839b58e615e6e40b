#include "containers/volume.h"

#include <algorithm>
#include <glm/common.hpp>
#include <glm/vector_relational.hpp>
#include <limits>
#include <ostream>
#include <type_traits>
#include <utility>

#include "containers/exchange.h"
#include "containers/shown.h"

namespace mirel {

namespace {

// dst[i] = operation(a[i]); the integer instantiations narrow back from int.
template <typename T, typename Operation>
void transformAll(T* dst, const T* a, int count, Operation operation) {
  for (int i = 0; i < count; ++i) dst[i] = static_cast<T>(operation(a[i]));
}

template <typename T, typename Operation>
void combineAll(T* dst, const T* a, const T* b, int count, Operation operation) {
  for (int i = 0; i < count; ++i) dst[i] = static_cast<T>(operation(a[i], b[i]));
}

template <typename T>
auto sum(T a, T b) {
  return a + b;
}
template <typename T>
auto difference(T a, T b) {
  return a - b;
}
template <typename T>
auto product(T a, T b) {
  // Unsigned: the product of two 16-bit values does not fit a signed int.
  if constexpr (std::is_integral_v<T>)
    return static_cast<unsigned>(a) * static_cast<unsigned>(b);
  else
    return a * b;
}
// Integers divided by 0 give 0.
template <typename T>
auto quotient(T a, T b) {
  if constexpr (std::is_integral_v<T>)
    return b == 0 ? 0 : a / b;
  else
    return a / b;
}

// Distance of x from the lower corner x0, held in T.
template <typename T>
T fraction(float x, int x0) {
  if constexpr (std::is_floating_point_v<T>)
    return static_cast<T>(x) - static_cast<T>(x0);
  else
    return static_cast<T>(x - static_cast<float>(x0));
}

// Whether a corner of the cell at x can lie inside 0 .. n-1; false for NaN, so that only
// positions that an int can hold are converted.
bool cellTouches(float x, int n) { return x >= -1.0f && x < static_cast<float>(n); }

// Copies what both volumes share when their centres coincide, dst's dimensions being the new ones.
template <typename T>
void copyCentred(Volume<T>& dst, const Volume<T>& src) {
  const glm::ivec3 shift = (dst.dimensions() - src.dimensions()) / 2;
  const glm::ivec3 from = glm::max(glm::ivec3(0), -shift);
  const glm::ivec3 to = glm::min(src.dimensions(), dst.dimensions() - shift);
  if (from.x >= to.x) return;
  for (int z = from.z; z < to.z; ++z)
    for (int y = from.y; y < to.y; ++y)
      std::copy_n(&src.at(from.x, y, z), to.x - from.x,
                  &dst.at(from.x + shift.x, y + shift.y, z + shift.z));
}

int lowerCorner(float x) { return static_cast<int>(x + 2.0f) - 2; }

}  // namespace

template <typename T>
Volume<T>::Volume(glm::ivec3 d) {
  extent::check("Volume", d.x, d.y, d.z);
  dims = d;
  elements = extent::allocate<T>(size());
}

template <typename T>
Volume<T>::Volume(glm::ivec3 d, T value) : Volume(d) {
  setAll(value);
}

template <typename T>
Volume<T>::Volume(const Volume& other) : Volume(other.dims) {
  if (other.elements) copyData(other.data());
}

template <typename T>
Volume<T>::Volume(Volume&& other) noexcept
    : dims(other.dims), elements(std::move(other.elements)) {}

template <typename T>
Volume<T>& Volume<T>::operator=(const Volume& other) {
  if (this == &other) return *this;
  resize(other.dims);
  if (other.elements) copyData(other.data());
  return *this;
}

template <typename T>
Volume<T>& Volume<T>::operator=(Volume&& other) noexcept {
  if (this == &other) return *this;
  dims = other.dims;
  elements = std::move(other.elements);
  return *this;
}

template <typename T>
void Volume<T>::setAll(T value) {
  std::fill_n(data(), size(), value);
}

template <typename T>
void Volume<T>::copyData(const T* src) {
  std::copy_n(src, size(), data());
}

template <typename T>
void Volume<T>::resize(glm::ivec3 d) {
  extent::check("Volume", d.x, d.y, d.z);
  // A moved-from volume has dimensions but no storage to keep.
  if (d.x * d.y * d.z == size() && (elements || size() == 0)) {
    dims = d;
    return;
  }
  Volume resized(d);
  const bool isCropped = elements && glm::all(glm::lessThanEqual(d, dims));
  if (!isCropped) resized.setAll(T(0));
  if (elements) copyCentred(resized, *this);
  *this = std::move(resized);
}

template <typename T>
T Volume<T>::linear(float x, float y, float z) const {
  if (!cellTouches(x, dims.x) || !cellTouches(y, dims.y) || !cellTouches(z, dims.z)) return T(0);
  const int x0 = lowerCorner(x), y0 = lowerCorner(y), z0 = lowerCorner(z);
  const T fx = fraction<T>(x, x0), fy = fraction<T>(y, y0), fz = fraction<T>(z, z0);
  const T gx = static_cast<T>(1 - fx), gy = static_cast<T>(1 - fy), gz = static_cast<T>(1 - fz);
  T total = static_cast<T>(get(x0, y0, z0) * static_cast<T>(gx * gy * gz));
  const auto add = [&total](T value, T weight) { total = static_cast<T>(total + value * weight); };
  add(get(x0, y0, z0 + 1), static_cast<T>(gx * gy * fz));
  add(get(x0, y0 + 1, z0), static_cast<T>(gx * fy * gz));
  add(get(x0, y0 + 1, z0 + 1), static_cast<T>(gx * fy * fz));
  add(get(x0 + 1, y0, z0), static_cast<T>(fx * gy * gz));
  add(get(x0 + 1, y0, z0 + 1), static_cast<T>(fx * gy * fz));
  add(get(x0 + 1, y0 + 1, z0), static_cast<T>(fx * fy * gz));
  add(get(x0 + 1, y0 + 1, z0 + 1), static_cast<T>(fx * fy * fz));
  return total;
}

template <typename T>
Volume<T> Volume<T>::operator-() const {
  Volume result(dims);
  transformAll(result.data(), data(), size(), [](T a) { return -a; });
  return result;
}

#define MIREL_VOLUME_OPERATOR(op, operation)                                                   \
  template <typename T>                                                                        \
  Volume<T> Volume<T>::operator op(T value) const {                                            \
    Volume result(dims);                                                                       \
    transformAll(result.data(), data(), size(), [value](T a) { return operation(a, value); }); \
    return result;                                                                             \
  }                                                                                            \
  template <typename T>                                                                        \
  Volume<T>& Volume<T>::operator op##=(T value) {                                              \
    transformAll(data(), data(), size(), [value](T a) { return operation(a, value); });        \
    return *this;                                                                              \
  }                                                                                            \
  template <typename T>                                                                        \
  Volume<T> Volume<T>::operator op(const Volume& other) const {                                \
    Volume result(dims);                                                                       \
    combineAll(result.data(), data(), other.data(), size(), operation<T>);                     \
    return result;                                                                             \
  }                                                                                            \
  template <typename T>                                                                        \
  Volume<T>& Volume<T>::operator op##=(const Volume& other) {                                  \
    combineAll(data(), data(), other.data(), size(), operation<T>);                            \
    return *this;                                                                              \
  }

MIREL_VOLUME_OPERATOR(+, sum)
MIREL_VOLUME_OPERATOR(-, difference)
MIREL_VOLUME_OPERATOR(*, product)
MIREL_VOLUME_OPERATOR(/, quotient)
#undef MIREL_VOLUME_OPERATOR

template <typename T>
bool Volume<T>::operator==(const Volume& other) const {
  return dims == other.dims && std::equal(data(), data() + size(), other.data());
}

template <typename T>
T Volume<T>::min() const {
  return size() == 0 ? T(0) : *std::min_element(data(), data() + size());
}

template <typename T>
T Volume<T>::max() const {
  return size() == 0 ? T(0) : *std::max_element(data(), data() + size());
}

template <typename T>
T Volume<T>::mean() const {
  T total = 0;
  for (int i = 0; i < size(); ++i) total = static_cast<T>(total + data()[i]);
  const T count = static_cast<T>(size());
  if (count == 0) return std::numeric_limits<T>::quiet_NaN();  // 0 for the integers
  return static_cast<T>(total / count);
}

template <typename T>
Volume<T> Volume<T>::transposeXY() const {
  return exchangedWithY(*this, 0);
}

namespace {

constexpr Shown shownOfVolume{2, 1};

}  // namespace

template <typename T>
std::ostream& operator<<(std::ostream& os, const Volume<T>& v) {
  if (v.size() == 0) return os << "empty volume";
  os << "volume (" << v.nx() << "x" << v.ny() << "x" << v.nz() << "):";
  const auto writeRow = [&](int y, int z) {
    os << "\n    [";
    forShown(
        v.nx(), shownOfVolume, [&](int x) { os << (x == 0 ? "" : " ") << v.at(x, y, z); },
        [&] { os << " ..."; });
    os << "]";
  };
  const auto writeSlice = [&](int z) {
    os << "\n  slice " << z << ":";
    forShown(
        v.ny(), shownOfVolume, [&](int y) { writeRow(y, z); }, [&] { os << "\n     ..."; });
  };
  forShown(v.nz(), shownOfVolume, writeSlice, [&] { os << "\n   ..."; });
  return os;
}

#define MIREL_INSTANTIATE(T) \
  template class Volume<T>;  \
  template std::ostream& operator<<(std::ostream&, const Volume<T>&);
MIREL_INSTANTIATE(float)
MIREL_INSTANTIATE(double)
MIREL_INSTANTIATE(unsigned char)
MIREL_INSTANTIATE(unsigned short)
#undef MIREL_INSTANTIATE

}  // namespace mirel

#pragma once

#include <glm/vec3.hpp>
#include <iosfwd>
#include <memory>

#include "containers/extent.h"

namespace mirel {

/// Dense 3-D array of voxels, x fastest: element (x, y, z) lives at (z*ny + y)*nx + x.
///
/// Instantiated for float (images, displacement maps, kernels), double, unsigned char and
/// unsigned short. Positions are in voxels. Only `get` and `linear` are defined outside the
/// volume (0 there); `at`, `operator[]` and the two-volume operators make no checks: the caller
/// keeps to the bounds, and the right operand holds at least as many elements as the left.
/// After a move the source keeps its dimensions but has no storage: it may only be assigned to
/// or destroyed. Sizes that are negative or whose product exceeds 31 bits throw
/// std::length_error.
template <typename T>
class Volume {
 public:
  /// Dimensions (0, 0, 0), no storage.
  Volume() = default;
  /// Elements are not initialised.
  explicit Volume(glm::ivec3 dims);
  Volume(int nx, int ny, int nz) : Volume(glm::ivec3(nx, ny, nz)) {}
  /// Every element is `value`.
  Volume(glm::ivec3 dims, T value);
  Volume(int nx, int ny, int nz, T value) : Volume(glm::ivec3(nx, ny, nz), value) {}
  Volume(const Volume& other);
  Volume(Volume&& other) noexcept;
  Volume& operator=(const Volume& other);
  Volume& operator=(Volume&& other) noexcept;
  ~Volume() = default;

  void setAll(T value);
  /// Copies `size()` elements from `src`.
  void copyData(const T* src);
  /// An equal element count keeps the storage as it is, reinterpreted under the new dimensions.
  /// Otherwise the content is cropped or zero-padded about the centre, by
  /// (new - old) / 2 voxels (truncated) on the low side of each axis.
  void resize(glm::ivec3 dims);
  void resize(int nx, int ny, int nz) { resize(glm::ivec3(nx, ny, nz)); }

  glm::ivec3 dimensions() const { return dims; }
  int nx() const { return dims.x; }
  int ny() const { return dims.y; }
  int nz() const { return dims.z; }
  int size() const { return dims.x * dims.y * dims.z; }
  std::size_t sizeInBytes() const { return static_cast<std::size_t>(size()) * sizeof(T); }
  T* data() { return elements.get(); }
  const T* data() const { return elements.get(); }

  int index(glm::ivec3 p) const { return index(p.x, p.y, p.z); }
  int index(int x, int y, int z) const { return (z * dims.y + y) * dims.x + x; }
  T& operator[](glm::ivec3 p) { return elements[offset(p.x, p.y, p.z)]; }
  const T& operator[](glm::ivec3 p) const { return elements[offset(p.x, p.y, p.z)]; }
  T& at(int x, int y, int z) { return elements[offset(x, y, z)]; }
  const T& at(int x, int y, int z) const { return elements[offset(x, y, z)]; }
  /// The element, or 0 outside the volume.
  T get(glm::ivec3 p) const { return get(p.x, p.y, p.z); }
  T get(int x, int y, int z) const {
    const bool inside = x >= 0 && x < dims.x && y >= 0 && y < dims.y && z >= 0 && z < dims.z;
    return inside ? at(x, y, z) : T(0);
  }
  /// The element at the coordinates reflected into the volume (`mirrorIndex`); 0 when empty.
  T mirror(glm::ivec3 p) const { return mirror(p.x, p.y, p.z); }
  T mirror(int x, int y, int z) const {
    if (size() == 0) return T(0);
    return at(mirrorIndex(x, dims.x), mirrorIndex(y, dims.y), mirrorIndex(z, dims.z));
  }
  static int mirrorIndex(int i, int n) { return extent::mirrorIndex(i, n); }
  /// Trilinear interpolation; corners outside the volume count as 0, so values fade to 0 over
  /// the last voxel. Weights and sum are formed in T (the integer instantiations thus yield the
  /// lower corner's value at fractional positions). Positions that are NaN or infinite give 0.
  T linear(glm::vec3 p) const { return linear(p.x, p.y, p.z); }
  T linear(float x, float y, float z) const;

  Volume operator+() const { return *this; }
  Volume operator-() const;
  Volume operator+(T value) const;
  Volume operator-(T value) const;
  Volume operator*(T value) const;
  Volume operator/(T value) const;
  Volume& operator+=(T value);
  Volume& operator-=(T value);
  Volume& operator*=(T value);
  Volume& operator/=(T value);
  Volume operator+(const Volume& other) const;
  Volume operator-(const Volume& other) const;
  Volume operator*(const Volume& other) const;
  Volume operator/(const Volume& other) const;
  Volume& operator+=(const Volume& other);
  Volume& operator-=(const Volume& other);
  Volume& operator*=(const Volume& other);
  Volume& operator/=(const Volume& other);

  /// Equal dimensions and elements; a NaN element equals nothing.
  bool operator==(const Volume& other) const;
  bool operator!=(const Volume& other) const { return !(*this == other); }
  /// First extreme of a linear scan; 0 for an empty volume.
  T min() const;
  T max() const;
  /// Sum divided by the element count, both in T (so an 8-bit sum, and an 8-bit count, wrap before
  /// the division). For a count of 0 NaN, or 0 where T has no NaN.
  T mean() const;
  /// The element at (y, x, z) of the result is this volume's element at (x, y, z).
  Volume transposeXY() const;

 private:
  std::size_t offset(int x, int y, int z) const { return static_cast<std::size_t>(index(x, y, z)); }

  glm::ivec3 dims{0, 0, 0};
  std::unique_ptr<T[]> elements;
};

/// A bounded dump: "volume (4x1x1):", then slices and rows; of more than three items in any
/// direction the first two and the last are shown. 8-bit elements are written as raw characters.
template <typename T>
std::ostream& operator<<(std::ostream& os, const Volume<T>& volume);

extern template class Volume<float>;
extern template class Volume<double>;
extern template class Volume<unsigned char>;
extern template class Volume<unsigned short>;

}  // namespace mirel

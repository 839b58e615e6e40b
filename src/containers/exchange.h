#pragma once

#include <utility>

#include "containers/volume.h"

/// Exchanging an axis with y. The engine works along y; for phase encoding along x or z that axis
/// and y change places on the way in and on the way out.
namespace mirel {

/// dst (ny, nx) is the transposed src (nx, ny), x fastest in both. They do not overlap.
template <typename T>
void transposeSlice(const T* src, int nx, int ny, T* dst) {
  for (int x = 0; x < nx; ++x)
    for (int y = 0; y < ny; ++y) dst[x * ny + y] = src[y * nx + x];
}

/// Exchanges `axis` (0, 1, 2) with axis 1: for 1 a copy. Its own inverse.
template <typename T>
Volume<T> exchangedWithY(const Volume<T>& volume, int axis);
/// The same into `result`, another object, whose storage is used again when the element count fits.
template <typename T>
void exchangeWithY(const Volume<T>& volume, int axis, Volume<T>& result);
/// Of a volume that is not needed any more: along y it is handed on, without a copy.
template <typename T>
Volume<T> exchangedWithY(Volume<T>&& volume, int axis) {
  return axis == 1 ? std::move(volume) : exchangedWithY(std::as_const(volume), axis);
}

/// A volume as it looks with `axis` as y: the volume itself where that is y already, else an
/// exchanged copy. The volume outlives the view.
template <typename T>
class AlongY {
 public:
  AlongY(const Volume<T>& volume, int axis) : original(axis == 1 ? &volume : nullptr) {
    if (original == nullptr) exchanged = exchangedWithY(volume, axis);
  }
  AlongY(Volume<T>&&, int) = delete;

  const Volume<T>& operator*() const { return original != nullptr ? *original : exchanged; }
  const Volume<T>* operator->() const { return &**this; }

 private:
  const Volume<T>* original;
  Volume<T> exchanged;
};

}  // namespace mirel

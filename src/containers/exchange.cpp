#include "containers/exchange.h"

#include <algorithm>

namespace mirel {

template <typename T>
void exchangeWithY(const Volume<T>& volume, int axis, Volume<T>& result) {
  glm::ivec3 dims = volume.dimensions();
  std::swap(dims[axis], dims[1]);
  if (result.dimensions() != dims || result.data() == nullptr) result = Volume<T>(dims);
  if (volume.size() == 0) return;
  if (axis == 1) {
    result.copyData(volume.data());
    return;
  }
  for (int z = 0; z < volume.nz(); ++z) {
    if (axis == 0)
      transposeSlice(&volume.at(0, 0, z), volume.nx(), volume.ny(), &result.at(0, 0, z));
    else  // whole rows keep their order
      for (int y = 0; y < volume.ny(); ++y)
        std::copy_n(&volume.at(0, y, z), volume.nx(), &result.at(0, z, y));
  }
}

template <typename T>
Volume<T> exchangedWithY(const Volume<T>& volume, int axis) {
  Volume<T> result;
  exchangeWithY(volume, axis, result);
  return result;
}

#define MIREL_INSTANTIATE(T)                                      \
  template void exchangeWithY(const Volume<T>&, int, Volume<T>&); \
  template Volume<T> exchangedWithY(const Volume<T>&, int);
MIREL_INSTANTIATE(float)
MIREL_INSTANTIATE(double)
MIREL_INSTANTIATE(unsigned char)
MIREL_INSTANTIATE(unsigned short)
#undef MIREL_INSTANTIATE

}  // namespace mirel

#include "field/rowresampling.h"

#include <cstddef>

namespace mirel {

RowResampling::RowResampling(const Volume<float>& shift, InterpolationKernel kernel) {
  if (kernel == InterpolationKernel::linear) return;
  tabulated.reserve(static_cast<std::size_t>(shift.size()));
  for (int z = 0; z < shift.nz(); ++z)
    for (int y = 0; y < shift.ny(); ++y)
      for (int x = 0; x < shift.nx(); ++x)
        tabulated.push_back(
            rowTaps(kernel, y + static_cast<double>(shift.at(x, y, z)), shift.ny()));
}

void RowResampling::resample(const Volume<float>& image, const Volume<float>& shift,
                             Volume<float>& result) const {
  const int nx = image.nx(), ny = image.ny();
  std::size_t n = 0;
  for (int z = 0; z < image.nz(); ++z) {
    const float* slice = image.data() + n;
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < nx; ++x, ++n) {
        const float* column = slice + x;
        result.data()[n] = static_cast<float>(
            tabulated.empty()
                ? weightedSum(linearTaps(y + static_cast<double>(shift.data()[n]), ny), column, nx)
                : weightedSum(tabulated[n], column, nx));
      }
  }
}

}  // namespace mirel

#include "masspreserving/columnintegral.h"

#include <algorithm>
#include <cmath>

#include "masspreserving/gridkernels.h"

namespace mirel {

template <typename Real>
ColumnIntegral<Real>::ColumnIntegral(const Volume<float>& image, const Parallel& parallel)
    : nx(image.nx()),
      ny(image.ny()),
      nz(image.nz()),
      cumulative(nx, ny + 1, nz),
      edgeDensity(nx, ny + 1, nz) {
  if (image.size() == 0) {
    cumulative.setAll(Real(0));
    edgeDensity.setAll(Real(0));
    return;
  }
  const auto value = [&](int x, int y, int z) {
    const double v = static_cast<double>(image.at(x, std::clamp(y, 0, ny - 1), z));
    return std::isfinite(v) ? v : 0.0;
  };
  inSlices(parallel, image.dimensions(), [&](int from, int to) {
    for (int z = from; z < to; ++z)
      for (int x = 0; x < nx; ++x) {
        double sum = 0.0;
        for (int k = 0; k <= ny; ++k) {
          cumulative.at(x, k, z) = static_cast<Real>(sum);
          const double below = value(x, k - 1, z), above = value(x, k, z);
          const double fourth =
              (7.0 * (below + above) - value(x, k - 2, z) - value(x, k + 1, z)) / 12.0;
          edgeDensity.at(x, k, z) =
              static_cast<Real>(std::clamp(fourth, std::min(below, above), std::max(below, above)));
          if (k < ny) sum += above;
        }
      }
  });
}

template <typename Real>
void ColumnIntegral<Real>::sampleRow(int j, int z, const Real* shift, Real sign, Real* integral,
                                     Real* density) const {
  const int start = cumulative.index(0, 0, z);
  sampleEdgeRow({cumulative.data() + start, edgeDensity.data() + start, nx, ny}, j, shift, sign,
                integral, density, variant);
}

template class ColumnIntegral<float>;
template class ColumnIntegral<double>;

}  // namespace mirel

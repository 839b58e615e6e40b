#include "masspreserving/columnintegral.h"

#include <algorithm>
#include <cmath>

namespace mirel {

template <typename Real>
ColumnIntegral<Real>::ColumnIntegral(const Volume<float>& image)
    : nx(image.nx()),
      ny(image.ny()),
      nz(image.nz()),
      cumulative(nx, ny + 1, nz, Real(0)),
      edgeDensity(nx, ny + 1, nz, Real(0)) {
  if (image.size() == 0) return;
  const auto value = [&](int x, int y, int z) {
    const double v = static_cast<double>(image.at(x, std::clamp(y, 0, ny - 1), z));
    return std::isfinite(v) ? v : 0.0;
  };
  for (int z = 0; z < nz; ++z)
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
}

template <typename Real>
void ColumnIntegral<Real>::sampleRow(int j, int z, const Real* shift, Real sign, Real* integral,
                                     Real* density) const {
  const Real* c = cumulative.data() + cumulative.index(0, 0, z);
  const Real* e = edgeDensity.data() + edgeDensity.index(0, 0, z);
  const Real top = static_cast<Real>(ny);
  for (int x = 0; x < nx; ++x) {
    const Real wanted = static_cast<Real>(j) + sign * shift[x];
    const Real p = std::min(std::max(wanted, Real(0)), top);
    const int k = std::min(static_cast<int>(p), ny - 1);
    const Real t = p - static_cast<Real>(k);
    const int at = k * nx + x;
    const Real c0 = c[at], mean = c[at + nx] - c0, left = e[at], right = e[at + nx];
    // I = left + t (right - left + six (1 - t)) with the mean of the voxel; C its integral.
    const Real rise = right - left, six = Real(6) * mean - Real(3) * (left + right);
    integral[x] =
        c0 + t * (left + t * (Real(0.5) * rise + six * (Real(0.5) - t * (Real(1) / Real(3)))));
    density[x] = wanted == p ? left + t * (rise + six * (Real(1) - t)) : Real(0);
  }
}

template class ColumnIntegral<float>;
template class ColumnIntegral<double>;

}  // namespace mirel

#include "masspreserving/massmodel.h"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

template <typename Real>
MassModel<Real>::MassModel(const Volume<float>& first, const Volume<float>& second)
    : size(first.dimensions()), firstIntegral(first), secondIntegral(second) {
  if (second.dimensions() != size)
    throw std::invalid_argument("the two images of a pair have different sizes");
}

template <typename Real>
void MassModel<Real>::evaluate(const Volume<Real>& b, Volume<Real>& residual,
                               Volume<Real>& slope) const {
  const std::size_t nx = static_cast<std::size_t>(size.x);
  std::vector<Real> c1(nx), c2(nx), i1(nx), i2(nx), m(nx);
  for (int z = 0; z < size.z; ++z)
    for (int j = 0; j <= size.y; ++j) {
      const Real* shift = b.data() + b.index(0, j, z);
      firstIntegral.sampleRow(j, z, shift, Real(1), c1.data(), i1.data());
      secondIntegral.sampleRow(j, z, shift, Real(-1), c2.data(), i2.data());
      Real* s = slope.data() + slope.index(0, j, z);
      Real* below = j > 0 ? residual.data() + residual.index(0, j - 1, z) : nullptr;
      for (std::size_t x = 0; x < nx; ++x) {
        s[x] = i1[x] + i2[x];
        const Real mass = c1[x] - c2[x];
        if (below != nullptr) below[x] = mass - m[x];
        m[x] = mass;
      }
    }
}

template <typename Real>
void MassModel<Real>::correct(const Volume<Real>& b, Volume<Real>& first,
                              Volume<Real>& second) const {
  const std::size_t nx = static_cast<std::size_t>(size.x);
  std::vector<Real> last(nx), next(nx), density(nx);
  const auto one = [&](const ColumnIntegral<Real>& integral, Real sign, Volume<Real>& out) {
    for (int z = 0; z < size.z; ++z)
      for (int j = 0; j <= size.y; ++j) {
        integral.sampleRow(j, z, b.data() + b.index(0, j, z), sign, next.data(), density.data());
        if (j > 0)
          for (std::size_t x = 0; x < nx; ++x)
            out.data()[static_cast<std::size_t>(out.index(0, j - 1, z)) + x] = next[x] - last[x];
        std::swap(last, next);
      }
  };
  one(firstIntegral, Real(1), first);
  one(secondIntegral, Real(-1), second);
}

template <typename Real>
void MassModel<Real>::coverage(const Volume<Real>& b, Volume<Real>& covered) const {
  const Real top = static_cast<Real>(size.y);
  const auto inside = [&](int j, Real shift) {
    const Real up = static_cast<Real>(j) + shift, down = static_cast<Real>(j) - shift;
    return std::min(up, down) >= Real(0) && std::max(up, down) <= top;
  };
  for (int z = 0; z < size.z; ++z)
    for (int j = 0; j < size.y; ++j)
      for (int x = 0; x < size.x; ++x)
        covered.at(x, j, z) =
            inside(j, b.at(x, j, z)) && inside(j + 1, b.at(x, j + 1, z)) ? Real(1) : Real(0);
}

template class MassModel<float>;
template class MassModel<double>;

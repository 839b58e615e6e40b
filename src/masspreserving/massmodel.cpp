#include "masspreserving/massmodel.h"

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

namespace mirel {

template <typename Real>
MassModel<Real>::MassModel(const Volume<float>& first, const Volume<float>& second,
                           Parallel inThreads)
    : parallel(std::move(inThreads)),
      size(first.dimensions()),
      firstIntegral(first, parallel),
      secondIntegral(second, parallel) {
  if (second.dimensions() != size)
    throw std::invalid_argument("the two images of a pair have different sizes");
}

template <typename Real>
void MassModel<Real>::evaluate(const Volume<Real>& b, Volume<Real>& residual,
                               Volume<Real>& slope) const {
  const std::size_t nx = static_cast<std::size_t>(size.x);
  inSlices(parallel, size, [&](int from, int to) {
    std::vector<Real> c1(nx), c2(nx), i1(nx), i2(nx), m(nx);
    for (int z = from; z < to; ++z)
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
  });
}

template <typename Real>
void MassModel<Real>::evaluate(const Volume<Real>& b, const Volume<Real>& ratioRoot,
                               const Volume<Real>& inverseRoot, Volume<Real>& residual,
                               Volume<Real>& low, Volume<Real>& high, Volume<Real>& mean) const {
  const std::size_t nx = static_cast<std::size_t>(size.x);
  const std::vector<Real> ones(nx, Real(1));
  inSlices(parallel, size, [&](int from, int to) {
    std::vector<Real> c1(nx), c2(nx), i1(nx), i2(nx), last1(nx), last2(nx), lastI1(nx), lastI2(nx);
    for (int z = from; z < to; ++z)
      for (int j = 0; j <= size.y; ++j) {
        const Real* shift = b.data() + b.index(0, j, z);
        firstIntegral.sampleRow(j, z, shift, Real(1), c1.data(), i1.data());
        secondIntegral.sampleRow(j, z, shift, Real(-1), c2.data(), i2.data());
        if (j > 0) {
          const std::size_t row = static_cast<std::size_t>(residual.index(0, j - 1, z));
          const Real* root = ratioRoot.size() == 0 ? ones.data() : ratioRoot.data() + row;
          const Real* inverse = ratioRoot.size() == 0 ? ones.data() : inverseRoot.data() + row;
          for (std::size_t x = 0; x < nx; ++x) {
            const Real f = root[x], over = inverse[x];
            const Real mass1 = (c1[x] - last1[x]) * over, mass2 = (c2[x] - last2[x]) * f;
            residual.data()[row + x] = mass1 - mass2;
            mean.data()[row + x] = Real(0.5) * (mass1 + mass2);
            low.data()[row + x] = lastI1[x] * over + lastI2[x] * f;
            high.data()[row + x] = i1[x] * over + i2[x] * f;
          }
        }
        std::swap(c1, last1);
        std::swap(c2, last2);
        std::swap(i1, lastI1);
        std::swap(i2, lastI2);
      }
  });
}

template <typename Real>
void correctAlong(const ColumnIntegral<Real>& image, const Volume<Real>& b, Real sign,
                  Volume<Real>& out, const Parallel& parallel) {
  const glm::ivec3 size = image.dimensions();
  const std::size_t nx = static_cast<std::size_t>(size.x);
  inSlices(parallel, size, [&](int from, int to) {
    std::vector<Real> last(nx), next(nx), density(nx);
    for (int z = from; z < to; ++z)
      for (int j = 0; j <= size.y; ++j) {
        image.sampleRow(j, z, b.data() + b.index(0, j, z), sign, next.data(), density.data());
        if (j > 0)
          for (std::size_t x = 0; x < nx; ++x)
            out.data()[static_cast<std::size_t>(out.index(0, j - 1, z)) + x] = next[x] - last[x];
        std::swap(last, next);
      }
  });
}

template <typename Real>
void MassModel<Real>::correct(const Volume<Real>& b, Volume<Real>& first,
                              Volume<Real>& second) const {
  correctAlong(firstIntegral, b, Real(1), first, parallel);
  correctAlong(secondIntegral, b, Real(-1), second, parallel);
}

template <typename Real>
void MassModel<Real>::replace(const Volume<float>& first, Volume<unsigned char> firstKnown,
                              const Volume<float>& second, Volume<unsigned char> secondKnown) {
  if (first.dimensions() != size || firstKnown.dimensions() != size ||
      second.dimensions() != size || secondKnown.dimensions() != size)
    throw std::invalid_argument("the two images of a pair have different sizes");
  firstIntegral = ColumnIntegral<Real>(first, parallel);
  secondIntegral = ColumnIntegral<Real>(second, parallel);
  firstMask = std::move(firstKnown);
  secondMask = std::move(secondKnown);
}

template <typename Real>
void MassModel<Real>::coverage(const Volume<Real>& b, Volume<Real>& covered) const {
  const Real top = static_cast<Real>(size.y);
  // Whether an image is known from one edge coordinate to another.
  const auto known = [&](const Volume<unsigned char>& mask, int x, int z, Real from, Real to) {
    if (!(from >= Real(0) && to <= top)) return false;
    if (mask.size() == 0) return true;
    const int low = std::min(static_cast<int>(from), size.y - 1);
    const int high = std::min(static_cast<int>(to), size.y - 1);
    return mask.at(x, low, z) != 0 && mask.at(x, high, z) != 0;
  };
  inSlices(parallel, size, [&](int from, int to) {
    for (int z = from; z < to; ++z)
      for (int j = 0; j < size.y; ++j)
        for (int x = 0; x < size.x; ++x) {
          const Real low = b.at(x, j, z), high = b.at(x, j + 1, z);
          const Real lower = static_cast<Real>(j), upper = static_cast<Real>(j + 1);
          const bool both = known(firstMask, x, z, lower + low, upper + high) &&
                            known(secondMask, x, z, lower - low, upper - high);
          covered.at(x, j, z) = both ? Real(1) : Real(0);
        }
  });
}

template class MassModel<float>;
template class MassModel<double>;
template void correctAlong(const ColumnIntegral<float>&, const Volume<float>&, float,
                           Volume<float>&, const Parallel&);
template void correctAlong(const ColumnIntegral<double>&, const Volume<double>&, double,
                           Volume<double>&, const Parallel&);

}  // namespace mirel

#include "masspreserving/roughness.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "masspreserving/gridkernels.h"

namespace mirel {

template <typename Real>
Roughness<Real>::Roughness(glm::ivec3 dimensions, glm::dvec3 spacing, double gradientWeight,
                           double bendingWeight, Parallel inThreads, Factors bendingFactors)
    : parallel(std::move(inThreads)),
      dims(dimensions),
      inverseX(dims.x > 1 ? 1.0 / (spacing.x * spacing.x) : 0.0),
      inverseY(dims.y > 1 ? 1.0 / (spacing.y * spacing.y) : 0.0),
      inverseZ(dims.z > 1 ? 1.0 / (spacing.z * spacing.z) : 0.0),
      gradient(gradientWeight),
      bending(bendingWeight),
      factors(std::move(bendingFactors)) {
  if (factors && factors->dimensions() != dims)
    throw std::logic_error("factors of the bending are not those of the grid");
}

template <typename Real>
void Roughness<Real>::laplacian(const Volume<Real>& b, Volume<Real>& out, int from, int to) const {
  const LaplacianWeights<Real> weights{static_cast<Real>(inverseX), static_cast<Real>(inverseY),
                                       static_cast<Real>(inverseZ)};
  mirel::laplacian(dims, weights, b.data(), out.data(), from, to, chosenVariant());
}

template <typename Real>
void Roughness<Real>::laplacian(const Volume<Real>& b, Volume<Real>& out) const {
  inSlices(parallel, dims, [&](int from, int to) { laplacian(b, out, from, to); });
}

template <typename Real>
void Roughness<Real>::apply(const Volume<Real>& b, Volume<Real>& out, Volume<Real>& scratch) const {
  inSlices(parallel, dims, [&](int from, int to) { applyFirst(b, scratch, from, to); });
  inSlices(parallel, dims, [&](int from, int to) { applySecond(scratch, out, from, to); });
}

template <typename Real>
void Roughness<Real>::applyFirst(const Volume<Real>& b, Volume<Real>& scratch, int from,
                                 int to) const {
  const Real g = static_cast<Real>(gradient), c = static_cast<Real>(bending);
  const int begin = b.index(0, 0, from), end = b.index(0, 0, to);
  const Real* v = b.data();
  Real* s = scratch.data();
  // Without bending the first half has nothing to do but to hand on.
  if (bending == 0.0) {
    std::copy(v + begin, v + end, s + begin);
    return;
  }
  laplacian(b, scratch, from, to);
  if (factors) {
    const Real* k = factors->data();
    for (int i = begin; i < end; ++i) s[i] = g * v[i] + c * k[i] * s[i];
  } else {
    for (int i = begin; i < end; ++i) s[i] = g * v[i] + c * s[i];
  }
}

template <typename Real>
void Roughness<Real>::applySecond(const Volume<Real>& scratch, Volume<Real>& out, int from,
                                  int to) const {
  laplacian(scratch, out, from, to);
  if (bending != 0.0) return;
  const Real g = static_cast<Real>(gradient);
  for (int i = out.index(0, 0, from); i < out.index(0, 0, to); ++i) out.data()[i] *= g;
}

template <typename Real>
void Roughness<Real>::addRoot(const std::function<Real()>& next, Volume<Real>& out) const {
  const std::array<int, 3> steps{1, dims.x, dims.x * dims.y};
  const std::array<double, 3> inverse{inverseX, inverseY, inverseZ};
  for (int axis = 0; axis < 3; ++axis) {
    const Real factor =
        static_cast<Real>(std::sqrt(gradient * inverse[static_cast<std::size_t>(axis)]));
    const int step = steps[static_cast<std::size_t>(axis)];
    for (int z = 0; z < dims.z; ++z)
      for (int y = 0; y < dims.y; ++y)
        for (int x = 0; x < dims.x; ++x) {
          if (glm::ivec3(x, y, z)[axis] + 1 == dims[axis]) continue;
          const int i = out.index(x, y, z);
          const Real value = factor * next();
          out.data()[i] += value;
          out.data()[i + step] -= value;
        }
  }
  if (bending == 0.0) return;
  Volume<Real> drawn(dims), curved(dims);
  for (int i = 0; i < drawn.size(); ++i)
    drawn.data()[i] = factors ? std::sqrt(factors->data()[i]) * next() : next();
  laplacian(drawn, curved);
  const Real factor = static_cast<Real>(std::sqrt(bending));
  for (int i = 0; i < drawn.size(); ++i) out.data()[i] += factor * curved.data()[i];
}

// The diagonal of the part of L that couples a column.
template <typename Real>
double Roughness<Real>::ofColumn(int j) const {
  return j < 0 || j >= dims.y
             ? 0.0
             : inverseY * (static_cast<double>(j > 0) + static_cast<double>(j + 1 < dims.y));
}

template <typename Real>
typename Roughness<Real>::BandRow Roughness<Real>::gradientRow(int j) const {
  const double lateral = 2.0 * (inverseX + inverseZ);
  const double above = j + 1 < dims.y ? -inverseY : 0.0;
  return {gradient * (ofColumn(j) + lateral), gradient * above, 0.0};
}

template <typename Real>
typename Roughness<Real>::BandRow Roughness<Real>::bendingRow(int j) const {
  const double here = ofColumn(j), below = j > 0 ? -inverseY : 0.0,
               above = j + 1 < dims.y ? -inverseY : 0.0;
  // Diagonals of the lateral part and of its square, inside the grid.
  const double lateral = 2.0 * (inverseX + inverseZ);
  const double lateralSquared =
      6.0 * (inverseX * inverseX + inverseZ * inverseZ) + 8.0 * inverseX * inverseZ;
  return {bending *
              (here * here + below * below + above * above + 2.0 * lateral * here + lateralSquared),
          bending * above * (here + ofColumn(j + 1) + 2.0 * lateral),
          j + 2 < dims.y ? bending * inverseY * inverseY : 0.0};
}

template class Roughness<float>;
template class Roughness<double>;

}  // namespace mirel

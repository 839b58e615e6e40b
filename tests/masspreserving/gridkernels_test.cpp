#include "masspreserving/gridkernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <glm/vector_relational.hpp>
#include <utility>
#include <vector>

#include "simd/eachvariant.h"
#include "support/compare.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

template <typename Real>
Volume<Real> randomVolume(glm::ivec3 dims, unsigned seed) {
  Random random(seed);
  Volume<Real> volume(dims);
  for (int i = 0; i < volume.size(); ++i)
    volume.data()[i] = static_cast<Real>(random.uniform(-2.0, 3.0));
  return volume;
}

// Around the widths of all registers along x.
std::vector<glm::ivec3> sizes() {
  std::vector<glm::ivec3> result = testSizes();
  for (const int nx : {1, 2, 15, 17, 31, 32, 33, 65}) result.emplace_back(nx, 5, 3);
  return result;
}

/// Calls body(dims, variant, a value of the type) for both types, all sizes and variants.
template <typename Body>
void forAll(const Body& body) {
  for (const glm::ivec3 dims : sizes())
    forEachVariant([&](SimdVariant variant) {
      SCOPED_TRACE(testing::Message() << dims.x << "x" << dims.y << "x" << dims.z);
      body(dims, variant, float{});
      body(dims, variant, double{});
    });
}

// The difference to a neighbour; 0 where there is none.
template <typename Real>
Real difference(const Volume<Real>& b, glm::ivec3 p, glm::ivec3 step) {
  const glm::ivec3 q = p + step;
  const bool inside = glm::all(glm::greaterThanEqual(q, glm::ivec3(0))) &&
                      glm::all(glm::lessThan(q, b.dimensions()));
  return inside ? b[p] - b[q] : Real(0);
}

template <typename Real>
Volume<Real> plainLaplacian(const Volume<Real>& b, const LaplacianWeights<Real>& w) {
  Volume<Real> out(b.dimensions());
  for (int z = 0; z < b.nz(); ++z)
    for (int y = 0; y < b.ny(); ++y)
      for (int x = 0; x < b.nx(); ++x) {
        const auto second = [&](glm::ivec3 step) {
          return difference(b, {x, y, z}, -step) + difference(b, {x, y, z}, step);
        };
        Real sum = w.y * second({0, 1, 0}) + w.z * second({0, 0, 1});
        if (b.nx() > 1) sum += w.x * second({1, 0, 0});
        out.at(x, y, z) = sum;
      }
  return out;
}

template <typename Real>
std::vector<double> plainDots(const Volume<Real>& a, const Volume<Real>& b) {
  std::vector<double> totals;
  for (int row = 0; row < a.size(); row += a.nx()) {
    double sums[8] = {};
    for (int x = 0; x < a.nx(); ++x)
      sums[x < a.nx() / 8 * 8 ? x % 8 : 0] +=
          static_cast<double>(a.data()[row + x]) * static_cast<double>(b.data()[row + x]);
    totals.push_back(((sums[0] + sums[4]) + (sums[2] + sums[6])) +
                     ((sums[1] + sums[5]) + (sums[3] + sums[7])));
  }
  return totals;
}

// C and I of one column at the edge coordinate `wanted`: see ColumnIntegral.
template <typename Real>
std::pair<Real, Real> plainSample(const Volume<Real>& c, const Volume<Real>& e, int x,
                                  Real wanted) {
  const int ny = c.ny() - 1;
  const Real p = std::min(std::max(wanted, Real(0)), static_cast<Real>(ny));
  const int k = std::min(static_cast<int>(p), ny - 1);
  const Real t = p - static_cast<Real>(k);
  const Real mean = c.at(x, k + 1, 0) - c.at(x, k, 0);
  const Real left = e.at(x, k, 0), right = e.at(x, k + 1, 0), rise = right - left;
  const Real six = Real(6) * mean - Real(3) * (left + right);
  const Real third = Real(1) / Real(3);
  return {c.at(x, k, 0) + t * (left + t * (Real(0.5) * rise + six * (Real(0.5) - t * third))),
          wanted == p ? left + t * (rise + six * (Real(1) - t)) : Real(0)};
}

// L D L' of one column after another.
template <typename Real>
Volume<Real> plainColumns(const Volume<Real>& inverse, const Volume<Real>& l1,
                          const Volume<Real>& l2, const Volume<Real>& v) {
  Volume<Real> o = v;
  const int ny = v.ny();
  for (int x = 0; x < v.nx(); ++x) {
    for (int j = 0; j < ny; ++j) {
      if (j > 0) o.at(x, j, 0) -= l1.at(x, j, 0) * o.at(x, j - 1, 0);
      if (j > 1) o.at(x, j, 0) -= l2.at(x, j, 0) * o.at(x, j - 2, 0);
    }
    for (int j = ny - 1; j >= 0; --j) {
      o.at(x, j, 0) *= inverse.at(x, j, 0);
      if (j + 1 < ny) o.at(x, j, 0) -= l1.at(x, j + 1, 0) * o.at(x, j + 1, 0);
      if (j + 2 < ny) o.at(x, j, 0) -= l2.at(x, j + 2, 0) * o.at(x, j + 2, 0);
    }
  }
  return o;
}

}  // namespace

TEST(GridKernels, LaplacianEqualsTheLoopToTheBit) {
  forAll([](glm::ivec3 dims, SimdVariant variant, auto kind) {
    using Real = decltype(kind);
    const Volume<Real> b = randomVolume<Real>(dims, 1);
    const LaplacianWeights<Real> weights{Real(0.17), Real(0.29), Real(0.11)};
    Volume<Real> got(dims, Real(7));
    const int half = dims.z / 2;
    laplacian(dims, weights, b.data(), got.data(), half, dims.z, variant);
    for (int i = 0; i < got.index(0, 0, half); ++i) ASSERT_EQ(got.data()[i], Real(7));
    laplacian(dims, weights, b.data(), got.data(), 0, half, variant);
    EXPECT_TRUE(compare::same(got, plainLaplacian(b, weights)));
  });
}

TEST(GridKernels, SumsOfProductsEqualTheLoopToTheBit) {
  forAll([](glm::ivec3 dims, SimdVariant variant, auto kind) {
    using Real = decltype(kind);
    const Volume<Real> a = randomVolume<Real>(dims, 2), b = randomVolume<Real>(dims, 3);
    std::vector<double> got(static_cast<std::size_t>(dims.y * dims.z));
    dotsOfRows(a.data(), b.data(), dims.x, dims.y * dims.z, got.data(), variant);
    EXPECT_EQ(got, plainDots(a, b));
  });
}

TEST(GridKernels, ColumnsEqualTheLoopToTheBit) {
  forAll([](glm::ivec3 dims, SimdVariant variant, auto kind) {
    using Real = decltype(kind);
    const glm::ivec3 slice(dims.x, dims.y, 1);
    const Volume<Real> inverse = randomVolume<Real>(slice, 7), v = randomVolume<Real>(slice, 8);
    const Volume<Real> l1 = randomVolume<Real>(slice, 9) * Real(0.3);
    const Volume<Real> l2 = randomVolume<Real>(slice, 10) * Real(0.1);
    Volume<Real> got(slice, Real(7));
    solveColumns(dims.x, dims.y, ColumnFactors<Real>{inverse.data(), l1.data(), l2.data()},
                 v.data(), got.data(), variant);
    EXPECT_TRUE(compare::same(got, plainColumns(inverse, l1, l2, v)));
  });
}

// Whole shifts, shifts beyond both ends, and any others.
TEST(GridKernels, RowsOfIntegralsEqualTheLoopToTheBit) {
  forAll([](glm::ivec3 dims, SimdVariant variant, auto kind) {
    using Real = decltype(kind);
    const int nx = dims.x, ny = dims.y;
    const Volume<Real> c = randomVolume<Real>({nx, ny + 1, 1}, 4);
    const Volume<Real> e = randomVolume<Real>({nx, ny + 1, 1}, 5);
    Random random(6);
    std::vector<Real> shift(static_cast<std::size_t>(nx)), integral = shift, density = shift;
    for (const Real sign : {Real(1), Real(-1)})
      for (int j = 0; j <= ny; ++j) {
        for (Real& s : shift)
          s = static_cast<Real>(random.below(3) == 0 ? random.below(9) - 4
                                                     : random.uniform(-3.0, 3.0));
        sampleEdgeRow({c.data(), e.data(), nx, ny}, j, shift.data(), sign, integral.data(),
                      density.data(), variant);
        for (int x = 0; x < nx; ++x) {
          const std::size_t at = static_cast<std::size_t>(x);
          const auto [wantedC, wantedI] =
              plainSample(c, e, x, static_cast<Real>(j) + sign * shift[at]);
          ASSERT_TRUE(compare::sameBits(integral[at], wantedC)) << x << " of row " << j;
          ASSERT_TRUE(compare::sameBits(density[at], wantedI)) << x << " of row " << j;
        }
      }
  });
}

}  // namespace mirel

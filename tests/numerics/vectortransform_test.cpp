#include "numerics/vectortransform.h"

#include <gtest/gtest.h>

#include <limits>

#include "reference/vectortransform.h"
#include "support/compare.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

using compare::same;

template <typename T>
class Coordinates : public testing::Test {};
using Elements = testing::Types<float, double>;
TYPED_TEST_SUITE(Coordinates, Elements);

template <typename T>
Vector<T> vectorOf(std::initializer_list<double> values) {
  Vector<T> v(static_cast<int>(values.size()));
  int i = 0;
  for (const double value : values) v[i++] = static_cast<T>(value);
  return v;
}

template <typename T>
Vector<T> randomVector(Random& random, int n, double lo, double hi) {
  Vector<T> v(n);
  for (int i = 0; i < n; ++i) v[i] = static_cast<T>(random.uniform(lo, hi));
  return v;
}

TYPED_TEST(Coordinates, AreCentredOnHalfTheLength) {
  EXPECT_EQ(getCoordinateVector<TypeParam>(4), vectorOf<TypeParam>({-2, -1, 0, 1}));
  EXPECT_EQ(getCoordinateVector<TypeParam>(3), vectorOf<TypeParam>({-1.5, -0.5, 0.5}));
  EXPECT_EQ(getCoordinateVector<TypeParam>(0).size(), 0);
}

TYPED_TEST(Coordinates, AreScaledThenShifted) {
  EXPECT_EQ(transformCoordinateVector(vectorOf<TypeParam>({-2, 0, 3}), TypeParam(2), TypeParam(1)),
            vectorOf<TypeParam>({-3, 1, 7}));
}

TYPED_TEST(Coordinates, LinearReadsTheValuesAtTheCoordinates) {
  const auto values = vectorOf<TypeParam>({10, 20, 40});
  EXPECT_EQ(linear(values, vectorOf<TypeParam>({0, 0.5, 2, -0.5, 2.5, 9, -9})),
            vectorOf<TypeParam>({10, 15, 40, 5, 20, 0, 0}));
  EXPECT_EQ(linear(values, Vector<TypeParam>()).size(), 0);
}

TYPED_TEST(Coordinates, LinearCenterUndoesTheCentring) {
  Random random(1);
  for (const int n : {1, 2, 3, 8, 9, 64}) {
    const auto values = randomVector<TypeParam>(random, n, -10, 10);
    EXPECT_EQ(linearCenter(values, getCoordinateVector<TypeParam>(n)), values);
  }
}

TYPED_TEST(Coordinates, LinearCenterTakesItsOffsetFromTheCoordinatesNotTheValues) {
  // Two coordinates on five values: the offset is 1, not 2.5.
  EXPECT_EQ(linearCenter(vectorOf<TypeParam>({1, 2, 3, 4, 5}), vectorOf<TypeParam>({-1, 0})),
            vectorOf<TypeParam>({1, 2}));
}

TYPED_TEST(Coordinates, AgreeWithTheReference) {
  Random random(2);
  for (const int n : {0, 1, 2, 3, 7, 8, 9, 15, 16, 17, 64, 65})
    for (const int m : {0, 1, 2, 5, 8, 31}) {
      const auto values = randomVector<TypeParam>(random, n, -1000, 1000);
      auto coords = randomVector<TypeParam>(random, m, -n - 5, 2 * n + 5);
      const auto scale = static_cast<TypeParam>(random.uniform(0.5, 1.5));
      const auto offset = static_cast<TypeParam>(random.uniform(-3.0, 3.0));
      for (const bool odd : {false, true}) {
        if (odd && m > 0) sprinkleOddValues(coords, random);
        EXPECT_TRUE(same(linear(values, coords), reference::linear(values, coords)));
        EXPECT_TRUE(same(linearCenter(values, coords), reference::linearCenter(values, coords)));
        EXPECT_TRUE(same(transformCoordinateVector(coords, scale, offset),
                         reference::transformCoordinateVector(coords, scale, offset)));
      }
      EXPECT_TRUE(
          same(getCoordinateVector<TypeParam>(n), reference::getCoordinateVector<TypeParam>(n)));
    }
}

TYPED_TEST(Coordinates, PositionsThatNoIndexHoldsReadZero) {
  using Limits = std::numeric_limits<TypeParam>;
  const Vector<TypeParam> coords =
      vectorOf<TypeParam>({static_cast<double>(Limits::quiet_NaN()),
                           static_cast<double>(Limits::infinity()), 1e30, -1e30, 3e9, -3e9});
  EXPECT_EQ(linear(vectorOf<TypeParam>({7, 7, 7}), coords), Vector<TypeParam>(6, TypeParam(0)));
}

}  // namespace

}  // namespace mirel

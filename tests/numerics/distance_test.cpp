#include "numerics/distance.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "reference/distance.h"
#include "support/compare.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

using compare::failsAssertion;
using compare::same;
using Voxels = std::vector<glm::ivec3>;

Vector<float> vectorOf(std::initializer_list<float> values) {
  Vector<float> v(static_cast<int>(values.size()));
  v.copyData(values.begin());
  return v;
}

Voxels someVoxels(glm::ivec3 dims, int count, Random& random) {
  Voxels voxels;
  for (int i = 0; i < count; ++i)
    voxels.emplace_back(random.below(dims.x), random.below(dims.y), random.below(dims.z));
  return voxels;
}

TEST(Distance, OfEqualVolumes) {
  Random random(1);
  const Volume<float> v = random.volume({6, 5, 4}, 0, 1000);
  EXPECT_EQ(ssd(v, v), 0.0);
  EXPECT_EQ(ssd_norm(v, v), 0.0);
  EXPECT_NEAR(ncc(v, v), 1.0, 1e-6);
  EXPECT_NEAR(ncc(v, v * 2.0f + 3.0f), 1.0, 1e-5);
  EXPECT_NEAR(ncc(v, -v), -1.0, 1e-6);
}

TEST(Distance, SumsSquaresAndDividesByTheCount) {
  const Volume<float> a(2, 2, 1, 5.0f), b(2, 2, 1, 2.0f);
  EXPECT_EQ(ssd(a, b), 36.0);
  EXPECT_EQ(ssd_norm(a, b), 9.0);
  EXPECT_EQ(ssd(Vector<float>(3, 1.0f), Vector<float>(3, -1.0f)), 12.0);
  EXPECT_EQ(ssd_norm(Vector<float>(3, 1.0f), Vector<float>(3, -1.0f)), 4.0);
}

TEST(Distance, SquaredDifferencesAreFormedInSinglePrecisionAndSummedInDouble) {
  const float a = 16777216.0f, b = 0.3f;
  const double difference = static_cast<double>(a - b);
  ASSERT_NE(difference, static_cast<double>(a) - static_cast<double>(b));
  EXPECT_EQ(ssd(Volume<float>(1, 1, 1, a), Volume<float>(1, 1, 1, b)), difference * difference);
  EXPECT_EQ(ssd(Vector<float>(1, a), Vector<float>(1, b)), difference * difference);
  // In single precision the second term would be lost.
  EXPECT_EQ(ssd(vectorOf({10000, 1}), vectorOf({0, 0})), 100000001.0);
}

TEST(Distance, CorrelationSumsAreKeptInSinglePrecision) {
  // 4096^2 = 2^24; a float sum loses the ones that follow.
  Volume<float> a(3, 1, 1, 1.0f), b(3, 1, 1, 1.0f);
  a.at(0, 0, 0) = 4096.0f;
  b.at(1, 0, 0) = 2.0f;
  const float saa = 16777216.0f, sa = 4098.0f, sb = 4.0f, sbb = 6.0f, sab = 4099.0f;
  const float num = sab * 3.0f - sb * sa, va = saa * 3.0f - sa * sa, vb = sbb * 3.0f - sb * sb;
  const double expected = static_cast<double>(num) /
                          (std::sqrt(static_cast<double>(vb)) * std::sqrt(static_cast<double>(va)));
  EXPECT_EQ(ncc(a, b), expected);
  EXPECT_EQ(ncc(a, b, Voxels{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}), expected);
}

TEST(Distance, CorrelationWithAConstantImageIsNotFinite) {
  Random random(2);
  const Volume<float> v = random.volume({3, 3, 3}, 0, 10), constant(3, 3, 3, 2.0f);
  EXPECT_FALSE(std::isfinite(ncc(v, constant)));
  EXPECT_TRUE(std::isnan(ncc(constant, constant)));
}

TEST(Distance, OfNothing) {
  const Volume<float> v(2, 2, 2, 1.0f), empty;
  EXPECT_EQ(ssd(v, v, Voxels{}), 0.0);
  EXPECT_TRUE(std::isnan(ncc(v, v, Voxels{})));
  EXPECT_EQ(ssd(Vector<float>(), Vector<float>()), 0.0);
  EXPECT_TRUE(std::isnan(ssd_norm(Vector<float>(), Vector<float>())));
  EXPECT_EQ(ssd_norm_nonbackground(Vector<float>(), Vector<float>()), 0.0);
  EXPECT_EQ(ssd(empty, empty), 0.0);
  EXPECT_TRUE(std::isnan(ssd_norm(empty, empty)));
  EXPECT_TRUE(std::isnan(ncc(empty, empty)));
}

TEST(Distance, MaskedFormsCountDuplicatesAsOftenAsListed) {
  Volume<float> a(3, 4, 5, 0.0f);
  const Volume<float> b(3, 4, 5, 0.0f);
  a.at(2, 1, 3) = 3;
  a.at(0, 3, 4) = 10;
  EXPECT_EQ(ssd(a, b, Voxels{{2, 1, 3}, {2, 1, 3}, {1, 1, 1}}), 18.0);
  EXPECT_EQ(ssd(a, b, Voxels{{2, 1, 3}, {0, 3, 4}}), 109.0) << "not divided by the count";
}

TEST(Distance, NonbackgroundSkipsPairsWithAZero) {
  EXPECT_EQ(ssd_norm_nonbackground(vectorOf({0, 1, 2}), vectorOf({5, 1, 0})), 0.0);
  EXPECT_EQ(ssd_norm_nonbackground(vectorOf({0, 0}), vectorOf({1, 1})), 0.0);
  EXPECT_EQ(ssd_norm_nonbackground(vectorOf({0, 3, 2, -0.0f}), vectorOf({5, 1, 6, 9})), 10.0);
  EXPECT_EQ(ssd_norm_nonbackground(vectorOf({1e-30f, 3}), vectorOf({1e-30f, 1})), 2.0)
      << "only the exact zero is background";
}

TEST(Distance, NonbackgroundCountsNan) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(std::isnan(ssd_norm_nonbackground(vectorOf({nan, 1}), vectorOf({1, 1}))));
  EXPECT_EQ(ssd_norm_nonbackground(vectorOf({nan, 1}), vectorOf({0, 1})), 0.0);
}

TEST(Distance, DifferentShapesFailBeforeAnythingIsSummed) {
  const Volume<float> a(2, 3, 4, 1.0f), b(3, 2, 4, 1.0f), c(2, 3, 5, 1.0f);
  const Voxels none;
  const Vector<float> u(3, 1.0f), v(4, 1.0f);
  const char* const file = "assertion failure (src/numerics/distance.cpp:";
  const auto text = [file](const char* rest) { return std::string(file) + rest; };
  for (const Volume<float>* other : {&b, &c}) {
    EXPECT_TRUE(failsAssertion([&] { ssd(a, *other); }, text("15): dim1 == dim2").c_str()));
    EXPECT_TRUE(failsAssertion([&] { ssd_norm(a, *other); }, text("15): dim1 == dim2").c_str()));
    EXPECT_TRUE(failsAssertion([&] { ncc(a, *other); }, text("37): dim1 == dim2").c_str()));
    EXPECT_TRUE(failsAssertion([&] { ssd(a, *other, none); },
                               text("63): vol1.dimensions() == vol2.dimensions()").c_str()));
    EXPECT_TRUE(failsAssertion([&] { ncc(a, *other, none); },
                               text("76): vol1.dimensions() == vol2.dimensions()").c_str()));
  }
  EXPECT_TRUE(failsAssertion([&] { ssd(u, v); }, text("109): vec1.size() == vec2.size()").c_str()));
  EXPECT_TRUE(
      failsAssertion([&] { ssd_norm(u, v); }, text("109): vec1.size() == vec2.size()").c_str()));
  EXPECT_TRUE(failsAssertion([&] { ssd_norm_nonbackground(u, v); },
                             text("133): vec1.size() == vec2.size()").c_str()));
}

class DistanceAgainstReference : public testing::TestWithParam<glm::ivec3> {};

TEST_P(DistanceAgainstReference, AllMeasures) {
  Random random(3);
  Volume<float> a = random.volume(GetParam(), -300, 3000), b = random.volume(GetParam(), 0, 3000);
  const auto compareAll = [&] {
    EXPECT_TRUE(same(ssd(a, b), reference::ssd(a, b)));
    EXPECT_TRUE(same(ssd_norm(a, b), reference::ssd_norm(a, b)));
    EXPECT_TRUE(same(ncc(a, b), reference::ncc(a, b)));
    for (const int count : {0, 1, 2, 7, 343}) {
      const Voxels voxels = someVoxels(GetParam(), count, random);
      EXPECT_TRUE(same(ssd(a, b, voxels), reference::ssd(a, b, voxels))) << count;
      EXPECT_TRUE(same(ncc(a, b, voxels), reference::ncc(a, b, voxels))) << count;
    }
  };
  compareAll();
  a.data()[random.below(a.size())] = std::numeric_limits<float>::infinity();
  compareAll();
  sprinkleOddValues(a, random);
  compareAll();
}

INSTANTIATE_TEST_SUITE_P(Sizes, DistanceAgainstReference, testing::ValuesIn(testSizes()));

TEST(Distance, OfColumnsAgreesWithTheReference) {
  Random random(4);
  for (const int n : {0, 1, 2, 3, 7, 8, 9, 64, 65}) {
    Vector<float> a = random.vector(n, -100, 100), b = random.vector(n, -100, 100);
    for (int i = 0; i < n; i += 3) (i % 2 ? a : b)[i] = 0;
    for (const bool odd : {false, true}) {
      if (odd) sprinkleOddValues(a, random);
      EXPECT_TRUE(same(ssd(a, b), reference::ssd(a, b)));
      EXPECT_TRUE(same(ssd_norm(a, b), reference::ssd_norm(a, b)));
      EXPECT_TRUE(same(ssd_norm_nonbackground(a, b), reference::ssd_norm_nonbackground(a, b)));
    }
  }
}

}  // namespace

}  // namespace mirel

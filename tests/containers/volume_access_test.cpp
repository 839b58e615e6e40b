// Element access, interpolation, arithmetic and reductions of Volume.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "containers/volume.h"

namespace mirel {

namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float inf = std::numeric_limits<float>::infinity();

template <typename T>
Volume<T> counting(int nx, int ny, int nz) {
  Volume<T> v(nx, ny, nz);
  std::iota(v.data(), v.data() + v.size(), T(1));
  return v;
}

template <typename T>
class VolumeAccess : public testing::Test {};
using Elements = testing::Types<float, double, unsigned char, unsigned short>;
TYPED_TEST_SUITE(VolumeAccess, Elements);

TYPED_TEST(VolumeAccess, XRunsFastest) {
  Volume<TypeParam> v = counting<TypeParam>(3, 4, 2);
  EXPECT_EQ(v.index(2, 1, 1), (1 * 4 + 1) * 3 + 2);
  EXPECT_EQ(v.index(glm::ivec3(2, 1, 1)), v.index(2, 1, 1));
  EXPECT_EQ(v.at(2, 1, 1), TypeParam(18));
  v[glm::ivec3(2, 1, 1)] = 50;
  const Volume<TypeParam>& constant = v;
  EXPECT_EQ(constant[glm::ivec3(2, 1, 1)], TypeParam(50));
  EXPECT_EQ(constant.at(2, 1, 1), TypeParam(50));
  EXPECT_EQ(v.data()[17], TypeParam(50));
}

TYPED_TEST(VolumeAccess, GetIsZeroOutside) {
  const Volume<TypeParam> v(2, 3, 4, TypeParam(9));
  EXPECT_EQ(v.get(1, 2, 3), TypeParam(9));
  EXPECT_EQ(v.get(glm::ivec3(0, 0, 0)), TypeParam(9));
  for (const glm::ivec3 p : {glm::ivec3(-1, 0, 0), glm::ivec3(2, 0, 0), glm::ivec3(0, -1, 0),
                             glm::ivec3(0, 3, 0), glm::ivec3(0, 0, -1), glm::ivec3(0, 0, 4)}) {
    EXPECT_EQ(v.get(p), TypeParam(0));
    EXPECT_EQ(v.get(p.x, p.y, p.z), TypeParam(0));
  }
  EXPECT_EQ(Volume<TypeParam>().get(0, 0, 0), TypeParam(0));
}

TYPED_TEST(VolumeAccess, MirrorIndexDoesNotRepeatTheEdge) {
  const int expected[] = {2, 1, 0, 1, 2, 3, 2, 1, 0, 1};
  for (int i = -2; i <= 7; ++i) EXPECT_EQ(Volume<TypeParam>::mirrorIndex(i, 4), expected[i + 2]);
  EXPECT_EQ(Volume<TypeParam>::mirrorIndex(7, 1), 0);
  EXPECT_EQ(Volume<TypeParam>::mirrorIndex(-5, 1), 0);
  EXPECT_EQ(Volume<TypeParam>::mirrorIndex(3, 2), 1);
  EXPECT_EQ(Volume<TypeParam>::mirrorIndex(std::numeric_limits<int>::min(), 4), 2)
      << "2^31 mod 6 is 2";
}

TYPED_TEST(VolumeAccess, MirrorReflectsEveryCoordinate) {
  const Volume<TypeParam> v = counting<TypeParam>(3, 4, 2);
  EXPECT_EQ(v.mirror(-1, 4, 2), v.at(1, 2, 0));
  EXPECT_EQ(v.mirror(glm::ivec3(3, -1, -1)), v.at(1, 1, 1));
  EXPECT_EQ(v.mirror(1, 1, 1), v.at(1, 1, 1));
}

TYPED_TEST(VolumeAccess, LinearAtWholePositionsIsTheElement) {
  const Volume<TypeParam> v = counting<TypeParam>(3, 4, 2);
  for (int z = 0; z < 2; ++z)
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 3; ++x) {
        const glm::vec3 p(x, y, z);
        EXPECT_EQ(v.linear(p), v.at(x, y, z));
        EXPECT_EQ(v.linear(p.x, p.y, p.z), v.at(x, y, z));
      }
  EXPECT_EQ(v.linear(-1.0f, 0.0f, 0.0f), TypeParam(0));
  EXPECT_EQ(v.linear(3.0f, 0.0f, 0.0f), TypeParam(0));
}

TYPED_TEST(VolumeAccess, LinearAtNanAndHugePositionsIsZero) {
  const Volume<TypeParam> v(3, 3, 3, TypeParam(5));
  for (const float odd : {nan, inf, -inf, 1e30f, -1e30f, 2147483648.0f, -2147483648.0f, 3e9f}) {
    EXPECT_EQ(v.linear(odd, 1, 1), TypeParam(0)) << odd;
    EXPECT_EQ(v.linear(1, odd, 1), TypeParam(0)) << odd;
    EXPECT_EQ(v.linear(1, 1, odd), TypeParam(0)) << odd;
  }
  EXPECT_EQ(Volume<TypeParam>().linear(0, 0, 0), TypeParam(0));
}

template <typename T>
class FloatingVolume : public testing::Test {};
using Floating = testing::Types<float, double>;
TYPED_TEST_SUITE(FloatingVolume, Floating);

TYPED_TEST(FloatingVolume, LinearFadesToZeroBeyondTheBorder) {
  const Volume<TypeParam> v = counting<TypeParam>(3, 4, 2);
  EXPECT_EQ(v.linear(-0.5f, 1, 1), v.at(0, 1, 1) / 2);
  EXPECT_EQ(v.linear(2.5f, 1, 1), v.at(2, 1, 1) / 2);
  EXPECT_EQ(v.linear(1, -0.25f, 1), v.at(1, 0, 1) * TypeParam(0.75));
  EXPECT_EQ(v.linear(1, 1, 1.5f), v.at(1, 1, 1) / 2);
  EXPECT_EQ(v.linear(-1.5f, 1, 1), TypeParam(0));
  EXPECT_EQ(v.linear(-2.75f, 1, 1), TypeParam(0));
  EXPECT_EQ(v.linear(1, 4.5f, 1), TypeParam(0));
}

TYPED_TEST(FloatingVolume, LinearReproducesATrilinearRamp) {
  Volume<TypeParam> v(5, 6, 7);
  for (int z = 0; z < 7; ++z)
    for (int y = 0; y < 6; ++y)
      for (int x = 0; x < 5; ++x) v.at(x, y, z) = static_cast<TypeParam>(x + 10 * y + 100 * z);
  // Quarters: every product is exact.
  for (float x = 0; x <= 4; x += 0.25f)
    for (float y = 0; y <= 5; y += 0.25f)
      EXPECT_EQ(v.linear(x, y, 3.75f), TypeParam(x) + 10 * TypeParam(y) + TypeParam(375));
}

TYPED_TEST(FloatingVolume, LinearAddsTheCornersInTheOrderThatZRunsFastest) {
  // One large corner cancels another: what was added before them is lost to rounding.
  const TypeParam big = std::is_same_v<TypeParam, float> ? TypeParam(1e9) : TypeParam(1e18);
  Volume<TypeParam> v(2, 2, 2, TypeParam(0));
  v.at(0, 0, 0) = 8;  // added first, lost
  v.at(0, 0, 1) = big;
  v.at(0, 1, 0) = -big;
  v.at(1, 1, 1) = 16;  // added last, kept
  EXPECT_EQ(v.linear(0.5f, 0.5f, 0.5f), TypeParam(2));
}

TEST(Volume, LinearOfDoubleVolumesWeighsInDouble) {
  Volume<double> v(2, 1, 1);
  v.at(0, 0, 0) = 0;
  v.at(1, 0, 0) = 1;
  EXPECT_EQ(v.linear(0.1f, 0, 0), static_cast<double>(0.1f));
}

TEST(Volume, LinearOfIntegerVolumesTruncatesTheWeights) {
  const Volume<unsigned char> v = counting<unsigned char>(3, 1, 1);
  EXPECT_EQ(v.linear(0.99f, 0, 0), 1);
  EXPECT_EQ(v.linear(1.5f, 0, 0), 2);
  EXPECT_EQ(v.linear(-0.5f, 0, 0), 0);
  const Volume<unsigned short> w = counting<unsigned short>(3, 1, 1);
  EXPECT_EQ(w.linear(0.99f, 0, 0), 1);
  EXPECT_EQ(w.linear(2.5f, 0, 0), 3);
}

TYPED_TEST(VolumeAccess, ScalarArithmetic) {
  const Volume<TypeParam> v = counting<TypeParam>(2, 2, 2);
  const auto expectAll = [&](const Volume<TypeParam>& result, auto expected) {
    ASSERT_EQ(result.dimensions(), v.dimensions());
    for (int i = 0; i < 8; ++i)
      EXPECT_EQ(result.data()[i], static_cast<TypeParam>(expected(v.data()[i])));
  };
  const TypeParam two = 2;
  expectAll(+v, [](TypeParam a) { return a; });
  expectAll(-v, [](TypeParam a) { return -a; });
  expectAll(v + two, [](TypeParam a) { return a + 2; });
  expectAll(v - two, [](TypeParam a) { return a - 2; });
  expectAll(v * two, [](TypeParam a) { return a * 2; });
  expectAll(v / two, [](TypeParam a) { return a / 2; });
  Volume<TypeParam> w = v;
  EXPECT_EQ(&(w += two), &w);
  expectAll(w, [](TypeParam a) { return a + 2; });
  EXPECT_EQ(&(w -= two), &w);
  EXPECT_EQ(w, v);
  EXPECT_EQ(&(w *= two), &w);
  expectAll(w, [](TypeParam a) { return a * 2; });
  EXPECT_EQ(&(w /= two), &w);
  EXPECT_EQ(w, v);
}

TYPED_TEST(VolumeAccess, TwoVolumeArithmetic) {
  const Volume<TypeParam> a(2, 2, 1, TypeParam(12)), b(2, 2, 1, TypeParam(4));
  EXPECT_EQ(a + b, Volume<TypeParam>(2, 2, 1, TypeParam(16)));
  EXPECT_EQ(a - b, Volume<TypeParam>(2, 2, 1, TypeParam(8)));
  EXPECT_EQ(a * b, Volume<TypeParam>(2, 2, 1, TypeParam(48)));
  EXPECT_EQ(a / b, Volume<TypeParam>(2, 2, 1, TypeParam(3)));
  Volume<TypeParam> c = a;
  EXPECT_EQ(&(c += b), &c);
  EXPECT_EQ(&(c -= b), &c);
  EXPECT_EQ(&(c *= b), &c);
  EXPECT_EQ(&(c /= b), &c);
  EXPECT_EQ(c, a);
}

TYPED_TEST(VolumeAccess, TwoVolumeArithmeticWalksTheLeftOperandWithoutADimensionCheck) {
  const Volume<TypeParam> left = counting<TypeParam>(2, 1, 1), right = counting<TypeParam>(1, 5, 3);
  const Volume<TypeParam> sum = left + right;
  EXPECT_EQ(sum.dimensions(), left.dimensions());
  EXPECT_EQ(sum.at(0, 0, 0), TypeParam(2));
  EXPECT_EQ(sum.at(1, 0, 0), TypeParam(4));
}

TEST(Volume, DivisionIsATrueDivision) {
  const Volume<float> v(1, 1, 1, 5.0f);
  EXPECT_EQ((v / 3.0f).at(0, 0, 0), 5.0f / 3.0f);
  ASSERT_NE(5.0f / 3.0f, 5.0f * (1.0f / 3.0f)) << "the values must tell the two apart";
}

TEST(Volume, IntegerDivisionByZeroIsZero) {
  EXPECT_EQ((Volume<unsigned char>(1, 1, 1, 7) / static_cast<unsigned char>(0)).at(0, 0, 0), 0);
  Volume<unsigned short> v(1, 1, 1, 7);
  v /= Volume<unsigned short>(1, 1, 1, 0);
  EXPECT_EQ(v.at(0, 0, 0), 0);
  EXPECT_EQ((Volume<float>(1, 1, 1, 7) / 0.0f).at(0, 0, 0), inf);
}

TEST(Volume, IntegerArithmeticWraps) {
  const Volume<unsigned short> v(1, 1, 1, 65535);
  EXPECT_EQ((v * v).at(0, 0, 0), 1);
  EXPECT_EQ((v + v).at(0, 0, 0), 65534);
  EXPECT_EQ((-v).at(0, 0, 0), 1);
  EXPECT_EQ((Volume<unsigned char>(1, 1, 1, 3) - static_cast<unsigned char>(5)).at(0, 0, 0), 254);
}

TYPED_TEST(VolumeAccess, ExtremesAndMean) {
  Volume<TypeParam> v(2, 2, 1);
  const TypeParam values[] = {4, 9, 2, 5};
  v.copyData(values);
  EXPECT_EQ(v.min(), TypeParam(2));
  EXPECT_EQ(v.max(), TypeParam(9));
  EXPECT_EQ(v.mean(), TypeParam(5));
  EXPECT_EQ(Volume<TypeParam>().min(), TypeParam(0));
  EXPECT_EQ(Volume<TypeParam>().max(), TypeParam(0));
}

TEST(Volume, MeanSumsInItsElementType) {
  EXPECT_EQ(Volume<unsigned char>(2, 1, 1, 200).mean(), (400 % 256) / 2);
  EXPECT_EQ(Volume<unsigned short>(2, 1, 1, 40000).mean(), (80000 % 65536) / 2);
  // 2^24 + 1 is no float: from there on adding 1 changes nothing.
  Volume<float> v(3, 1, 1, 1.0f);
  v.at(0, 0, 0) = 16777216.0f;
  EXPECT_EQ(v.mean(), 16777216.0f / 3.0f);
}

TEST(Volume, MeanDividesInItsElementType) {
  // 300 elements are 300 - 256 = 44 in 8 bits, and so is their sum.
  EXPECT_EQ(Volume<unsigned char>(30, 10, 1, 1).mean(), 1)
      << "the element count is to be converted to the element type before the division";
  EXPECT_EQ(Volume<unsigned char>(16, 16, 1, 1).mean(), 0) << "the count wraps to 0";
}

TEST(Volume, MeanOfNothing) {
  EXPECT_TRUE(std::isnan(Volume<float>().mean()));
  EXPECT_EQ(Volume<unsigned char>().mean(), 0);
}

}  // namespace

}  // namespace mirel

#include "containers/vector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <sstream>
#include <stdexcept>

namespace mirel {

namespace {

template <typename T>
Vector<T> counting(int n) {
  Vector<T> v(n);
  std::iota(v.data(), v.data() + n, T(1));
  return v;
}

template <typename T>
std::string printed(const Vector<T>& v) {
  std::ostringstream os;
  os << v;
  return os.str();
}

template <typename T>
class VectorOf : public testing::Test {};
using Elements = testing::Types<float, double>;
TYPED_TEST_SUITE(VectorOf, Elements);

TYPED_TEST(VectorOf, Construction) {
  EXPECT_EQ(Vector<TypeParam>().size(), 0);
  EXPECT_EQ(Vector<TypeParam>().data(), nullptr);
  const Vector<TypeParam> v(3, TypeParam(2));
  EXPECT_EQ(v.size(), 3);
  EXPECT_EQ(v.sizeInBytes(), 3 * sizeof(TypeParam));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(v[i], TypeParam(2));
  EXPECT_THROW(Vector<TypeParam>(-1), std::length_error);
}

TYPED_TEST(VectorOf, CopiesAndMoves) {
  Vector<TypeParam> v = counting<TypeParam>(4);
  Vector<TypeParam> copy = v;
  copy[0] = 50;
  EXPECT_EQ(v[0], TypeParam(1));
  Vector<TypeParam> taken = std::move(v);
  EXPECT_EQ(v.size(), 4) << "kept";  // NOLINT: that is what is tested
  EXPECT_EQ(v.data(), nullptr);
  v = copy;  // the same size, but the storage was gone
  EXPECT_EQ(v, copy);
  v = std::move(taken);
  EXPECT_EQ(v, counting<TypeParam>(4));
  EXPECT_EQ(taken.size(), 4);  // NOLINT
  EXPECT_EQ(taken.data(), nullptr);
  Vector<TypeParam>& alias = v;
  v = alias;
  EXPECT_EQ(v, counting<TypeParam>(4));
}

TYPED_TEST(VectorOf, ResizeKeepsElementsOnlyAtTheSameSize) {
  Vector<TypeParam> v = counting<TypeParam>(4);
  v.resize(4);
  EXPECT_EQ(v, counting<TypeParam>(4));
  v.resize(7);
  EXPECT_EQ(v.size(), 7);
  v.resize(0);
  EXPECT_EQ(v.data(), nullptr);
  EXPECT_THROW(v.resize(-3), std::length_error);
}

TYPED_TEST(VectorOf, GetAndMirror) {
  const Vector<TypeParam> v = counting<TypeParam>(3);
  EXPECT_EQ(v.get(2, TypeParam(-1)), TypeParam(3));
  EXPECT_EQ(v.get(3, TypeParam(-1)), TypeParam(-1));
  EXPECT_EQ(v.get(-1, TypeParam(-1)), TypeParam(-1));
  EXPECT_EQ(v.mirrorIndex(-3), 1);
  EXPECT_EQ(v.mirrorIndex(4), 0);
  EXPECT_EQ(v.mirror(-1), TypeParam(2));
  EXPECT_EQ(v.mirror(3), TypeParam(2));
  EXPECT_EQ(counting<TypeParam>(1).mirrorIndex(-9), 0);
}

TYPED_TEST(VectorOf, LinearInterpolatesAndFadesToZero) {
  const Vector<TypeParam> v = counting<TypeParam>(4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(v.linear(static_cast<float>(i)), TypeParam(i + 1));
  EXPECT_EQ(v.linear(1.25f), TypeParam(2.25));
  EXPECT_EQ(v.linear(-0.5f), TypeParam(0.5));
  EXPECT_EQ(v.linear(3.5f), TypeParam(2));
  EXPECT_EQ(v.linear(-1.0f), TypeParam(0));
  EXPECT_EQ(v.linear(4.0f), TypeParam(0));
  EXPECT_EQ(v.linear(-2.5f), TypeParam(0));
  EXPECT_EQ(Vector<TypeParam>().linear(0), TypeParam(0));
}

TYPED_TEST(VectorOf, LinearAtNanAndHugePositionsIsZero) {
  const Vector<TypeParam> v = counting<TypeParam>(4);
  const float inf = std::numeric_limits<float>::infinity();
  for (const float odd : {std::numeric_limits<float>::quiet_NaN(), inf, -inf, 3e9f, -3e9f, 1e30f})
    EXPECT_EQ(v.linear(odd), TypeParam(0)) << odd;
}

TEST(Vector, LinearWeighsEachSampleByTheDistanceToTheOther) {
  Vector<float> v(3);
  v[0] = 3, v[1] = 1, v[2] = 7;
  EXPECT_EQ(v.linear(0.1f), 0.1f * 1.0f + (1.0f - 0.1f) * 3.0f);
  EXPECT_EQ(v.linear(1.7f), (1.7f - 1.0f) * 7.0f + (2.0f - 1.7f) * 1.0f);
}

TEST(Vector, LinearJustBelowASampleTakesThatSampleAsTheLowerOne) {
  // x + 2 rounds up to 3, so the cell is 1 .. 2 and the weight of sample 2 slightly negative.
  Vector<float> v(3);
  v[0] = 1e9f, v[1] = 1, v[2] = 0;
  const float x = std::nextafter(1.0f, 0.0f);
  ASSERT_EQ(x + 2.0f, 3.0f);
  EXPECT_EQ(v.linear(x), 2.0f - x);
}

TYPED_TEST(VectorOf, Arithmetic) {
  const TypeParam two = 2;
  const Vector<TypeParam> a(3, TypeParam(12)), b(3, TypeParam(4));
  const auto all = [](double value) { return Vector<TypeParam>(3, static_cast<TypeParam>(value)); };
  EXPECT_EQ(+a, a);
  EXPECT_EQ(-a, all(-12));
  EXPECT_EQ(a + two, all(14));
  EXPECT_EQ(a - two, all(10));
  EXPECT_EQ(a * two, all(24));
  EXPECT_EQ(a / two, all(6));
  EXPECT_EQ(a + b, all(16));
  EXPECT_EQ(a - b, all(8));
  EXPECT_EQ(a * b, all(48));
  EXPECT_EQ(a / b, all(3));
  Vector<TypeParam> c = a;
  EXPECT_EQ(&(c += two), &c);
  EXPECT_EQ(&(c -= two), &c);
  EXPECT_EQ(&(c *= two), &c);
  EXPECT_EQ(&(c /= two), &c);
  EXPECT_EQ(&(c += b), &c);
  EXPECT_EQ(&(c -= b), &c);
  EXPECT_EQ(&(c *= b), &c);
  EXPECT_EQ(&(c /= b), &c);
  EXPECT_EQ(c, a);
  c.setAll(TypeParam(4));
  EXPECT_EQ(c, b);
  c.copyData(a.data());
  EXPECT_EQ(c, a);
  EXPECT_EQ(Vector<TypeParam>(2, two) + counting<TypeParam>(5), counting<TypeParam>(2) + two)
      << "walks the left operand";
}

TEST(Vector, DivisionIsATrueDivision) {
  EXPECT_EQ((Vector<float>(1, 5.0f) / 3.0f)[0], 5.0f / 3.0f);
}

TYPED_TEST(VectorOf, DotAddsInOrder) {
  EXPECT_EQ(counting<TypeParam>(3).dot(counting<TypeParam>(4)), TypeParam(14));
  const TypeParam big = std::is_same_v<TypeParam, float> ? TypeParam(1e9) : TypeParam(1e18);
  Vector<TypeParam> v(4);
  v[0] = 1, v[1] = big, v[2] = -big, v[3] = 2;
  EXPECT_EQ(v.dot(Vector<TypeParam>(4, TypeParam(1))), TypeParam(2));
  EXPECT_EQ(Vector<TypeParam>().dot(Vector<TypeParam>()), TypeParam(0));
}

TYPED_TEST(VectorOf, ExtremesSkipNanAfterTheFirstElement) {
  const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
  Vector<TypeParam> v(4);
  v[0] = 2, v[1] = nan, v[2] = 5, v[3] = 1;
  EXPECT_EQ(v.min(), TypeParam(1));
  EXPECT_EQ(v.max(), TypeParam(5));
  v[0] = nan;
  EXPECT_TRUE(v.min() != v.min());
  EXPECT_TRUE(v.max() != v.max());
  EXPECT_EQ(Vector<TypeParam>().max(), TypeParam(0));
  EXPECT_EQ(Vector<TypeParam>().min(), TypeParam(0));
}

TYPED_TEST(VectorOf, Comparison) {
  EXPECT_TRUE(counting<TypeParam>(3) == counting<TypeParam>(3));
  EXPECT_TRUE(counting<TypeParam>(3) != counting<TypeParam>(4));
  Vector<TypeParam> v = counting<TypeParam>(3);
  v[1] = std::numeric_limits<TypeParam>::quiet_NaN();
  EXPECT_FALSE(v == v);
  EXPECT_EQ(Vector<TypeParam>(), Vector<TypeParam>(0));
}

TYPED_TEST(VectorOf, PrintsTheFirstTwoAndTheLast) {
  EXPECT_EQ(printed(Vector<TypeParam>()), "[]");
  EXPECT_EQ(printed(counting<TypeParam>(1)), "[1]");
  EXPECT_EQ(printed(counting<TypeParam>(3)), "[1 2 3]");
  EXPECT_EQ(printed(counting<TypeParam>(4)), "[1 2 ... 4]");
  EXPECT_EQ(printed(counting<TypeParam>(9)), "[1 2 ... 9]");
}

}  // namespace

}  // namespace mirel

#include "containers/matrix.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>
#include <sstream>
#include <stdexcept>

namespace mirel {

namespace {

template <typename T>
Matrix<T> counting(int rows, int columns) {
  Matrix<T> m(rows, columns);
  std::iota(m.data(), m.data() + m.size(), T(1));
  return m;
}

template <typename T>
std::string printed(const Matrix<T>& m) {
  std::ostringstream os;
  os << m;
  return os.str();
}

template <typename T>
class MatrixOf : public testing::Test {};
using Elements = testing::Types<float, double>;
TYPED_TEST_SUITE(MatrixOf, Elements);

TYPED_TEST(MatrixOf, Construction) {
  const Matrix<TypeParam> empty;
  EXPECT_EQ(empty.dimensions(), glm::ivec2(0, 0));
  EXPECT_EQ(empty.data(), nullptr);
  const Matrix<TypeParam> m(2, 3, TypeParam(4));
  EXPECT_EQ(m.rows(), 2);
  EXPECT_EQ(m.columns(), 3);
  EXPECT_EQ(m.size(), 6);
  EXPECT_EQ(m.sizeInBytes(), 6 * sizeof(TypeParam));
  EXPECT_EQ(m, Matrix<TypeParam>(glm::ivec2(2, 3), TypeParam(4)));
  EXPECT_EQ(Matrix<TypeParam>(glm::ivec2(2, 3)).columns(), 3);
  EXPECT_THROW(Matrix<TypeParam>(-1, 3), std::length_error);
  EXPECT_THROW(Matrix<TypeParam>(65536, 65536), std::length_error);
}

TYPED_TEST(MatrixOf, RowsRunFastest) {
  Matrix<TypeParam> m = counting<TypeParam>(2, 3);
  EXPECT_EQ(m.index(1, 2), 5);
  EXPECT_EQ(m.index(glm::ivec2(1, 2)), 5);
  EXPECT_EQ(m.at(1, 2), TypeParam(6));
  EXPECT_EQ(m.at(0, 1), TypeParam(3));
  m[glm::ivec2(0, 1)] = 30;
  const Matrix<TypeParam>& constant = m;
  EXPECT_EQ(constant[glm::ivec2(0, 1)], TypeParam(30));
  EXPECT_EQ(constant.at(0, 1), TypeParam(30));
}

TYPED_TEST(MatrixOf, GetHasADefaultOutside) {
  const Matrix<TypeParam> m = counting<TypeParam>(2, 3);
  EXPECT_EQ(m.get(1, 2, TypeParam(-1)), TypeParam(6));
  for (const glm::ivec2 p :
       {glm::ivec2(-1, 0), glm::ivec2(2, 0), glm::ivec2(0, -1), glm::ivec2(0, 3)})
    EXPECT_EQ(m.get(p, TypeParam(-1)), TypeParam(-1));
}

TYPED_TEST(MatrixOf, MirrorReflectsEachCoordinate) {
  const Matrix<TypeParam> m = counting<TypeParam>(3, 4);
  EXPECT_EQ(m.mirror(-1, 4), m.at(1, 2));
  EXPECT_EQ(m.mirror(glm::ivec2(3, -2)), m.at(1, 2));
  EXPECT_EQ(Matrix<TypeParam>::mirrorIndex(6, 4), 0);
  EXPECT_EQ(Matrix<TypeParam>::mirrorIndex(6, 1), 0);
}

TYPED_TEST(MatrixOf, CopiesAndMoves) {
  Matrix<TypeParam> m = counting<TypeParam>(2, 3);
  Matrix<TypeParam> copy = m;
  copy.at(0, 0) = 50;
  EXPECT_EQ(m.at(0, 0), TypeParam(1));
  Matrix<TypeParam> taken = std::move(m);
  EXPECT_EQ(m.dimensions(), glm::ivec2(2, 3)) << "kept";  // NOLINT: that is what is tested
  EXPECT_EQ(m.data(), nullptr);
  m = copy;  // the same count, but the storage was gone
  EXPECT_EQ(m, copy);
  m = std::move(taken);
  EXPECT_EQ(m, counting<TypeParam>(2, 3));
  EXPECT_EQ(taken.dimensions(), glm::ivec2(2, 3));  // NOLINT
  EXPECT_EQ(taken.data(), nullptr);
  Matrix<TypeParam>& alias = m;
  m = alias;
  EXPECT_EQ(m, counting<TypeParam>(2, 3));
}

TYPED_TEST(MatrixOf, ResizeToTheSameCountKeepsTheStoredSequence) {
  Matrix<TypeParam> m = counting<TypeParam>(2, 3);
  m.resize(3, 2);
  EXPECT_EQ(m, counting<TypeParam>(3, 2));
  m.resize(glm::ivec2(4, 5));
  EXPECT_EQ(m.dimensions(), glm::ivec2(4, 5));
  m.resize(0, 5);
  EXPECT_EQ(m.size(), 0);
  EXPECT_THROW(m.resize(-1, 1), std::length_error);
}

TYPED_TEST(MatrixOf, ComparesSizesAndElements) {
  const Matrix<TypeParam> m = counting<TypeParam>(2, 3);
  EXPECT_TRUE(m == counting<TypeParam>(2, 3));
  EXPECT_TRUE(m != counting<TypeParam>(3, 2));
  Matrix<TypeParam> other = m;
  other.at(1, 2) = std::numeric_limits<TypeParam>::quiet_NaN();
  EXPECT_FALSE(other == other);
}

TYPED_TEST(MatrixOf, ElementwiseArithmetic) {
  const Matrix<TypeParam> m(2, 3, TypeParam(6));
  const Matrix<TypeParam> n(2, 3, TypeParam(4));
  EXPECT_EQ(+m, m);
  EXPECT_EQ(-m, Matrix<TypeParam>(2, 3, TypeParam(-6)));
  EXPECT_EQ(m * TypeParam(2), Matrix<TypeParam>(2, 3, TypeParam(12)));
  EXPECT_EQ(m / TypeParam(2), Matrix<TypeParam>(2, 3, TypeParam(3)));
  EXPECT_EQ(m + n, Matrix<TypeParam>(2, 3, TypeParam(10)));
  EXPECT_EQ(m - n, Matrix<TypeParam>(2, 3, TypeParam(2)));
  Matrix<TypeParam> c = m;
  EXPECT_EQ(&(c += n), &c);
  EXPECT_EQ(&(c -= n), &c);
  EXPECT_EQ(&(c *= TypeParam(2)), &c);
  EXPECT_EQ(&(c /= TypeParam(2)), &c);
  EXPECT_EQ(c, m);
  c.setAll(TypeParam(4));
  EXPECT_EQ(c, n);
  c.copyData(m.data());
  EXPECT_EQ(c, m);
}

TEST(Matrix, DivisionIsATrueDivision) {
  EXPECT_EQ((Matrix<float>(1, 1, 5.0f) / 3.0f).at(0, 0), 5.0f / 3.0f);
}

TYPED_TEST(MatrixOf, Product) {
  const Matrix<TypeParam> a = counting<TypeParam>(2, 3);  // rows 1 3 5 / 2 4 6
  const Matrix<TypeParam> b = counting<TypeParam>(3, 2);  // rows 1 4 / 2 5 / 3 6
  const Matrix<TypeParam> product = a * b;
  ASSERT_EQ(product.dimensions(), glm::ivec2(2, 2));
  EXPECT_EQ(product.at(0, 0), TypeParam(22));
  EXPECT_EQ(product.at(0, 1), TypeParam(49));
  EXPECT_EQ(product.at(1, 0), TypeParam(28));
  EXPECT_EQ(product.at(1, 1), TypeParam(64));
  EXPECT_EQ(Matrix<TypeParam>::identity(3) * b, b);
  Matrix<TypeParam> c = a;
  EXPECT_EQ(&(c *= b), &c);
  EXPECT_EQ(c, product) << "takes over the product's dimensions";
}

TYPED_TEST(MatrixOf, ProductAddsInOrderOfTheInnerIndex) {
  const TypeParam big = std::is_same_v<TypeParam, float> ? TypeParam(1e9) : TypeParam(1e18);
  Matrix<TypeParam> a(1, 4);
  const TypeParam values[] = {1, big, -big, 2};
  a.copyData(values);
  EXPECT_EQ((a * Matrix<TypeParam>(4, 1, TypeParam(1))).at(0, 0), TypeParam(2));
  EXPECT_EQ((a * Vector<TypeParam>(4, TypeParam(1)))[0], TypeParam(2));
}

TYPED_TEST(MatrixOf, ProductTakesTheInnerLengthFromTheLeft) {
  const Matrix<TypeParam> a = counting<TypeParam>(2, 2);  // rows 1 3 / 2 4
  const Matrix<TypeParam> tall = counting<TypeParam>(5, 1);
  const Matrix<TypeParam> product = a * tall;
  EXPECT_EQ(product.at(0, 0), TypeParam(7));
  EXPECT_EQ(product.at(1, 0), TypeParam(10));
}

TYPED_TEST(MatrixOf, TimesVector) {
  const Matrix<TypeParam> a = counting<TypeParam>(2, 3);
  Vector<TypeParam> v(3);
  v[0] = 1, v[1] = 10, v[2] = 100;
  const Vector<TypeParam> r = a * v;
  ASSERT_EQ(r.size(), 2);
  EXPECT_EQ(r[0], TypeParam(531));
  EXPECT_EQ(r[1], TypeParam(642));
}

TYPED_TEST(MatrixOf, TransposeAndIdentity) {
  const Matrix<TypeParam> m = counting<TypeParam>(2, 3);
  const Matrix<TypeParam> t = m.transpose();
  ASSERT_EQ(t.dimensions(), glm::ivec2(3, 2));
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(t.at(j, i), m.at(i, j));
  Matrix<TypeParam> inPlace = m;
  inPlace.transposeInPlace();
  EXPECT_EQ(inPlace, t);
  Matrix<TypeParam> square = counting<TypeParam>(3, 3);
  square.transposeInPlace();
  EXPECT_EQ(square, counting<TypeParam>(3, 3).transpose());
  const Matrix<TypeParam> identity = Matrix<TypeParam>::identity(3);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(identity.at(i, j), TypeParam(i == j ? 1 : 0));
  EXPECT_EQ(Matrix<TypeParam>::identity(0).size(), 0);
}

TEST(Matrix, PrintsTheStoredElementAtRowPlusColumn) {
  EXPECT_EQ(printed(counting<float>(2, 3)), "matrix (2x3):\n  [1 2 3]\n  [2 3 4]");
}

TEST(Matrix, PrintsSingleRowsAndColumnsAsTheyAre) {
  EXPECT_EQ(printed(Matrix<float>()), "empty matrix");
  EXPECT_EQ(printed(Matrix<float>(0, 3)), "empty matrix");
  EXPECT_EQ(printed(counting<double>(1, 3)), "matrix (1x3):\n  [1 2 3]");
  EXPECT_EQ(printed(counting<float>(3, 1)), "matrix (3x1):\n  [1]\n  [2]\n  [3]");
}

TEST(Matrix, PrintsTwentyOfTwentyAndTheEndsOfMore) {
  EXPECT_EQ(printed(counting<float>(1, 20)),
            "matrix (1x20):\n  [1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20]");
  EXPECT_EQ(printed(counting<float>(1, 21)),
            "matrix (1x21):\n  [1 2 3 4 5 6 7 8 9 10 ... 12 13 14 15 16 17 18 19 20 21]");
  const std::string tall = printed(counting<float>(22, 1));
  EXPECT_NE(tall.find("\n  [10]\n   ...\n  [13]\n"), std::string::npos) << tall;
}

}  // namespace

}  // namespace mirel

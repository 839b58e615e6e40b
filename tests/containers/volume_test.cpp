#include "containers/volume.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>
#include <sstream>
#include <stdexcept>

namespace mirel {

namespace {

template <typename T>
Volume<T> counting(int nx, int ny, int nz) {
  Volume<T> v(nx, ny, nz);
  std::iota(v.data(), v.data() + v.size(), T(1));
  return v;
}

template <typename T>
std::string printed(const Volume<T>& v) {
  std::ostringstream os;
  os << v;
  return os.str();
}

template <typename T>
class VolumeOf : public testing::Test {};
using Elements = testing::Types<float, double, unsigned char, unsigned short>;
TYPED_TEST_SUITE(VolumeOf, Elements);

TYPED_TEST(VolumeOf, IsEmptyByDefault) {
  const Volume<TypeParam> v;
  EXPECT_EQ(v.dimensions(), glm::ivec3(0, 0, 0));
  EXPECT_EQ(v.size(), 0);
  EXPECT_EQ(v.sizeInBytes(), 0u);
  EXPECT_EQ(v.data(), nullptr);
}

TYPED_TEST(VolumeOf, KeepsItsDimensionsAndFillValue) {
  const Volume<TypeParam> v(2, 3, 4, TypeParam(7));
  EXPECT_EQ(v.dimensions(), glm::ivec3(2, 3, 4));
  EXPECT_EQ(v.nx(), 2);
  EXPECT_EQ(v.ny(), 3);
  EXPECT_EQ(v.nz(), 4);
  EXPECT_EQ(v.size(), 24);
  EXPECT_EQ(v.sizeInBytes(), 24 * sizeof(TypeParam));
  for (int i = 0; i < 24; ++i) EXPECT_EQ(v.data()[i], TypeParam(7));
  EXPECT_EQ(v, Volume<TypeParam>(glm::ivec3(2, 3, 4), TypeParam(7)));
  EXPECT_EQ(Volume<TypeParam>(glm::ivec3(2, 3, 4)).dimensions(), glm::ivec3(2, 3, 4));
}

TYPED_TEST(VolumeOf, CopiesAreIndependent) {
  const Volume<TypeParam> original = counting<TypeParam>(3, 2, 2);
  Volume<TypeParam> copy = original;
  EXPECT_EQ(copy, original);
  copy.at(0, 0, 0) = 99;
  EXPECT_EQ(original.at(0, 0, 0), TypeParam(1));
  Volume<TypeParam> assigned(5, 5, 5, TypeParam(1));
  assigned = original;
  EXPECT_EQ(assigned, original);
  assigned = Volume<TypeParam>();
  EXPECT_EQ(assigned.size(), 0);
  const Volume<TypeParam> copyOfEmpty = assigned;
  EXPECT_EQ(copyOfEmpty.data(), nullptr);
}

TYPED_TEST(VolumeOf, SelfAssignmentKeepsTheElements) {
  Volume<TypeParam> v = counting<TypeParam>(3, 2, 2);
  Volume<TypeParam>& alias = v;
  v = alias;
  EXPECT_EQ(v, counting<TypeParam>(3, 2, 2));
  v = std::move(alias);
  EXPECT_EQ(v, counting<TypeParam>(3, 2, 2));
}

TYPED_TEST(VolumeOf, MoveLeavesTheSourceItsDimensionsWithoutStorage) {
  Volume<TypeParam> source = counting<TypeParam>(3, 2, 2);
  const TypeParam* storage = source.data();
  Volume<TypeParam> taken = std::move(source);
  EXPECT_EQ(taken.data(), storage);
  EXPECT_EQ(source.dimensions(), glm::ivec3(3, 2, 2));  // NOLINT: that is what is tested
  EXPECT_EQ(source.data(), nullptr);
  Volume<TypeParam> assigned(1, 1, 1, TypeParam(0));
  assigned = std::move(taken);
  EXPECT_EQ(assigned.data(), storage);
  EXPECT_EQ(taken.dimensions(), glm::ivec3(3, 2, 2));  // NOLINT
  EXPECT_EQ(taken.data(), nullptr);
}

TYPED_TEST(VolumeOf, MovedFromVolumeCanBeAssignedTo) {
  const Volume<TypeParam> content = counting<TypeParam>(3, 2, 2);
  // The same element count: nothing to reinterpret, the storage is gone.
  Volume<TypeParam> v = content;
  Volume<TypeParam> taken = std::move(v);
  v = content;
  EXPECT_EQ(v, content);
  taken = std::move(v);
  v = counting<TypeParam>(1, 2, 1);
  EXPECT_EQ(v, counting<TypeParam>(1, 2, 1));
}

TYPED_TEST(VolumeOf, SetAllAndCopyData) {
  Volume<TypeParam> v(2, 2, 1);
  v.setAll(TypeParam(3));
  EXPECT_EQ(v, Volume<TypeParam>(2, 2, 1, TypeParam(3)));
  const TypeParam values[] = {4, 5, 6, 7};
  v.copyData(values);
  EXPECT_EQ(v.at(1, 1, 0), TypeParam(7));
  Volume<TypeParam> empty;
  empty.setAll(TypeParam(1));
  empty.copyData(nullptr);
  EXPECT_EQ(empty.size(), 0);
}

TYPED_TEST(VolumeOf, ResizeToTheSameCountIsAReshape) {
  Volume<TypeParam> v = counting<TypeParam>(4, 2, 1);
  const TypeParam* storage = v.data();
  v.resize(2, 4, 1);
  EXPECT_EQ(v.data(), storage);
  EXPECT_EQ(v, counting<TypeParam>(2, 4, 1));
}

TYPED_TEST(VolumeOf, ResizePadsAboutTheCentre) {
  Volume<TypeParam> v = counting<TypeParam>(2, 2, 2);
  v.resize(glm::ivec3(4, 4, 4));
  Volume<TypeParam> expected(4, 4, 4, TypeParam(0));
  for (int z = 0; z < 2; ++z)
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 2; ++x)
        expected.at(x + 1, y + 1, z + 1) = static_cast<TypeParam>(1 + x + 2 * y + 4 * z);
  EXPECT_EQ(v, expected);
}

TYPED_TEST(VolumeOf, ResizePutsAnOddExcessOnTheHighSide) {
  Volume<TypeParam> v = counting<TypeParam>(2, 1, 1);
  v.resize(5, 1, 1);
  const TypeParam expected[] = {0, 1, 2, 0, 0};
  for (int x = 0; x < 5; ++x) EXPECT_EQ(v.at(x, 0, 0), expected[x]) << x;
}

TYPED_TEST(VolumeOf, ResizeCropsAboutTheCentre) {
  Volume<TypeParam> even = counting<TypeParam>(4, 4, 4);
  const Volume<TypeParam> before = even;
  even.resize(2, 2, 2);
  for (int z = 0; z < 2; ++z)
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 2; ++x) EXPECT_EQ(even.at(x, y, z), before.at(x + 1, y + 1, z + 1));
}

TYPED_TEST(VolumeOf, ResizeByOneLessKeepsTheLowSide) {
  Volume<TypeParam> v = counting<TypeParam>(3, 3, 3);
  const Volume<TypeParam> before = v;
  v.resize(2, 2, 2);
  for (int z = 0; z < 2; ++z)
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 2; ++x) EXPECT_EQ(v.at(x, y, z), before.at(x, y, z));
}

TYPED_TEST(VolumeOf, ResizeGrowsOneAxisAndCropsAnother) {
  Volume<TypeParam> v = counting<TypeParam>(4, 1, 1);  // 1 2 3 4
  v.resize(2, 3, 1);
  EXPECT_EQ(v.at(0, 0, 0), TypeParam(0));
  EXPECT_EQ(v.at(0, 1, 0), TypeParam(2));
  EXPECT_EQ(v.at(1, 1, 0), TypeParam(3));
  EXPECT_EQ(v.at(1, 2, 0), TypeParam(0));
}

TYPED_TEST(VolumeOf, ResizeFromAndToEmpty) {
  Volume<TypeParam> v;
  v.resize(2, 2, 1);
  EXPECT_EQ(v, Volume<TypeParam>(2, 2, 1, TypeParam(0)));
  v.resize(0, 2, 1);
  EXPECT_EQ(v.dimensions(), glm::ivec3(0, 2, 1));
  EXPECT_EQ(v.size(), 0);
}

TYPED_TEST(VolumeOf, ImpossibleSizesThrow) {
  EXPECT_THROW(Volume<TypeParam>(-1, 2, 2), std::length_error);
  EXPECT_THROW(Volume<TypeParam>(2, -1, 2, TypeParam(0)), std::length_error);
  EXPECT_THROW(Volume<TypeParam>(-2, -2, 2), std::length_error);
  EXPECT_THROW(Volume<TypeParam>(65536, 65536, 1), std::length_error);
  EXPECT_THROW(Volume<TypeParam>(0x7fffffff, 0x7fffffff, 0x7fffffff), std::length_error);
  Volume<TypeParam> v = counting<TypeParam>(2, 2, 2);
  EXPECT_THROW(v.resize(2, 2, -2), std::length_error);
  EXPECT_THROW(v.resize(2048, 2048, 2048), std::length_error);
  EXPECT_EQ(v, counting<TypeParam>(2, 2, 2)) << "a refused resize leaves the volume alone";
}

TYPED_TEST(VolumeOf, ComparesDimensionsAndElements) {
  const Volume<TypeParam> a = counting<TypeParam>(3, 2, 1);
  Volume<TypeParam> b = a;
  EXPECT_TRUE(a == b);
  EXPECT_FALSE(a != b);
  b.at(2, 1, 0) = 0;
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a != b);
  EXPECT_NE(a, counting<TypeParam>(2, 3, 1));
  EXPECT_EQ(Volume<TypeParam>(0, 2, 2), Volume<TypeParam>(0, 2, 2));
  EXPECT_NE(Volume<TypeParam>(0, 2, 2), Volume<TypeParam>(2, 0, 2));
}

TEST(Volume, ANanElementMakesVolumesUnequalAlsoWithThemselves) {
  const Volume<float> a(2, 1, 1, std::numeric_limits<float>::quiet_NaN());
  const Volume<float> b = a;
  EXPECT_FALSE(a == b);
  EXPECT_FALSE(a == a);
  EXPECT_TRUE(a != a);
}

TYPED_TEST(VolumeOf, TransposeXYSwapsTheFirstTwoCoordinates) {
  const Volume<TypeParam> v = counting<TypeParam>(3, 2, 4);
  const Volume<TypeParam> t = v.transposeXY();
  EXPECT_EQ(t.dimensions(), glm::ivec3(2, 3, 4));
  for (int z = 0; z < 4; ++z)
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 3; ++x) EXPECT_EQ(t.at(y, x, z), v.at(x, y, z));
  EXPECT_EQ(t.transposeXY(), v);
}

TEST(Volume, PrintsElementsWithoutGaps) {
  EXPECT_EQ(printed(Volume<float>()), "empty volume");
  EXPECT_EQ(printed(Volume<float>(3, 0, 2)), "empty volume");
  EXPECT_EQ(printed(counting<float>(4, 1, 1)), "volume (4x1x1):\n  slice 0:\n    [1 2 ... 4]");
  EXPECT_EQ(printed(counting<double>(3, 2, 1)),
            "volume (3x2x1):\n  slice 0:\n    [1 2 3]\n    [4 5 6]");
  EXPECT_EQ(printed(Volume<unsigned short>(1, 1, 1, 65)), "volume (1x1x1):\n  slice 0:\n    [65]");
  EXPECT_EQ(printed(Volume<float>(1, 1, 1, 0.125f)), "volume (1x1x1):\n  slice 0:\n    [0.125]");
}

TEST(Volume, PrintsEightBitElementsAsRawCharacters) {
  EXPECT_EQ(printed(Volume<unsigned char>(2, 1, 1, 'A')), "volume (2x1x1):\n  slice 0:\n    [A A]");
}

TEST(Volume, PrintsTheFirstTwoAndTheLastInEveryDirection) {
  EXPECT_EQ(printed(counting<float>(5, 5, 5)),
            "volume (5x5x5):"
            "\n  slice 0:\n    [1 2 ... 5]\n    [6 7 ... 10]\n     ...\n    [21 22 ... 25]"
            "\n  slice 1:\n    [26 27 ... 30]\n    [31 32 ... 35]\n     ...\n    [46 47 ... 50]"
            "\n   ..."
            "\n  slice 4:\n    [101 102 ... 105]\n    [106 107 ... 110]\n     ..."
            "\n    [121 122 ... 125]");
}

TEST(Volume, PrintsThreeOfThreeWhole) {
  EXPECT_EQ(printed(counting<float>(1, 1, 3)),
            "volume (1x1x3):\n  slice 0:\n    [1]\n  slice 1:\n    [2]\n  slice 2:\n    [3]");
}

}  // namespace

}  // namespace mirel

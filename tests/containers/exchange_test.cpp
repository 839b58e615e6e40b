#include "containers/exchange.h"

#include <gtest/gtest.h>

namespace mirel {

template <typename T>
class ExchangeOf : public testing::Test {};
using Elements = testing::Types<float, double, unsigned char, unsigned short>;
TYPED_TEST_SUITE(ExchangeOf, Elements);

template <typename T>
Volume<T> counting(int nx, int ny, int nz) {
  Volume<T> v(nx, ny, nz);
  for (int i = 0; i < v.size(); ++i) v.data()[i] = static_cast<T>(i % 251);
  return v;
}

TYPED_TEST(ExchangeOf, putsTheAxisInThePlaceOfY) {
  const Volume<TypeParam> image = counting<TypeParam>(5, 7, 3);
  const Volume<TypeParam> withX = exchangedWithY(image, 0), withZ = exchangedWithY(image, 2);
  ASSERT_EQ(withX.dimensions(), glm::ivec3(7, 5, 3));
  ASSERT_EQ(withZ.dimensions(), glm::ivec3(5, 3, 7));
  for (int z = 0; z < 3; ++z)
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 5; ++x) {
        EXPECT_EQ(withX.at(y, x, z), image.at(x, y, z));
        EXPECT_EQ(withZ.at(x, z, y), image.at(x, y, z));
      }
  EXPECT_TRUE(exchangedWithY(image, 1) == image);
}

TYPED_TEST(ExchangeOf, isItsOwnInverse) {
  const Volume<TypeParam> image = counting<TypeParam>(4, 3, 6);
  for (int axis = 0; axis < 3; ++axis)
    EXPECT_TRUE(exchangedWithY(exchangedWithY(image, axis), axis) == image) << axis;
}

TEST(Exchange, handsOnWhatLiesAlongYAlready) {
  Volume<float> image = counting<float>(4, 3, 2);
  const Volume<float> expected = image;
  const float* storage = image.data();
  const Volume<float> handedOn = exchangedWithY(std::move(image), 1);
  EXPECT_EQ(handedOn.data(), storage);
  EXPECT_TRUE(handedOn == expected);
  EXPECT_TRUE(exchangedWithY(Volume<float>(expected), 2) == exchangedWithY(expected, 2));
}

TEST(Exchange, usesStorageOfTheRightShapeAgain) {
  const Volume<float> image = counting<float>(4, 3, 2);
  for (int axis = 0; axis < 3; ++axis) {
    Volume<float> result = exchangedWithY(image, axis);
    const float* storage = result.data();
    result.setAll(-1.0f);
    exchangeWithY(image, axis, result);
    EXPECT_EQ(result.data(), storage) << axis;
    EXPECT_TRUE(result == exchangedWithY(image, axis)) << axis;
  }
}

TEST(Exchange, ofNothingIsNothing) {
  for (int axis = 0; axis < 3; ++axis) {
    glm::ivec3 dims(4, 0, 3);
    const Volume<float> result = exchangedWithY(Volume<float>(dims), axis);
    std::swap(dims[axis], dims[1]);
    EXPECT_EQ(result.dimensions(), dims);
    EXPECT_EQ(result.data(), nullptr);
  }
}

TEST(AlongY, isTheVolumeItselfAlongYAndACopyElsewhere) {
  const Volume<float> image = counting<float>(4, 3, 2);
  const AlongY<float> y(image, 1);
  EXPECT_EQ(&*y, &image);
  EXPECT_EQ(y->dimensions(), image.dimensions());
  for (const int axis : {0, 2}) {
    const AlongY<float> view(image, axis);
    EXPECT_TRUE(*view == exchangedWithY(image, axis)) << axis;
  }
}

TEST(AlongY, mayBeCopiedAndMoved) {
  const Volume<float> image = counting<float>(4, 3, 2);
  for (int axis = 0; axis < 3; ++axis) {
    AlongY<float> view(image, axis);
    const AlongY<float> copy = view;
    const AlongY<float> moved = std::move(view);
    EXPECT_TRUE(*copy == exchangedWithY(image, axis)) << axis;
    EXPECT_TRUE(*moved == exchangedWithY(image, axis)) << axis;
  }
}

}  // namespace mirel

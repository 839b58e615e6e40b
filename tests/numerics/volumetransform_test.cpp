#include "numerics/volumetransform.h"

#include <gtest/gtest.h>

#include <glm/ext/matrix_transform.hpp>
#include <numeric>

#include "reference/volumetransform.h"
#include "support/compare.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

using compare::failsAssertion;
using compare::same;

template <typename T>
Volume<T> axisX(std::initializer_list<double> values) {
  Volume<T> v(static_cast<int>(values.size()), 1, 1);
  int i = 0;
  for (const double value : values) v.data()[i++] = static_cast<T>(value);
  return v;
}

template <typename T>
Volume<T> randomVolume(glm::ivec3 d, Random& random) {
  Volume<T> v(d);
  for (int i = 0; i < v.size(); ++i) v.data()[i] = static_cast<T>(random.uniform(-100.0, 100.0));
  return v;
}

glm::mat4 randomMap(Random& random) {
  glm::mat4 m(1.0f);
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 3; ++row) m[column][row] += random.uniform(-0.4f, 0.4f);
  return m;
}

template <typename T>
class AffineOf : public testing::Test {};
using Elements = testing::Types<float, double>;
TYPED_TEST_SUITE(AffineOf, Elements);

TYPED_TEST(AffineOf, IdentityCopies) {
  Random random(1);
  const auto src = randomVolume<TypeParam>({4, 5, 3}, random);
  Volume<TypeParam> dst(4, 5, 3, TypeParam(-1));
  affineLinear(dst, src, glm::mat4(1.0f));
  EXPECT_EQ(dst, src);
  dst.setAll(TypeParam(-1));
  affineCenterLinear(dst, src, glm::mat4(1.0f));
  EXPECT_EQ(dst, src);
  dst.setAll(TypeParam(-1));
  scaleVolumeLinear(dst, src);
  EXPECT_EQ(dst, src);
}

TYPED_TEST(AffineOf, VoxelsBeyondTheSourceAreZero) {
  const Volume<TypeParam> src(2, 2, 2, TypeParam(3));
  Volume<TypeParam> dst(3, 4, 5, TypeParam(-1));
  affineLinear(dst, src, glm::mat4(1.0f));
  for (int z = 0; z < 5; ++z)
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 3; ++x)
        EXPECT_EQ(dst.at(x, y, z), TypeParam(x < 2 && y < 2 && z < 2 ? 3 : 0));
}

TYPED_TEST(AffineOf, MapGoesFromDestinationToSource) {
  Random random(2);
  const auto src = randomVolume<TypeParam>({4, 5, 3}, random);
  Volume<TypeParam> dst(4, 5, 3);
  affineLinear(dst, src, glm::translate(glm::mat4(1.0f), glm::vec3(1, -2, 0)));
  for (int z = 0; z < 3; ++z)
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 4; ++x) EXPECT_EQ(dst.at(x, y, z), src.get(x + 1, y - 2, z));
}

TYPED_TEST(AffineOf, ColumnsAreTheImagesOfTheAxes) {
  Random random(3);
  const auto src = randomVolume<TypeParam>({3, 4, 5}, random);
  glm::mat4 rotate(0.0f);  // x' = y, y' = z, z' = x
  rotate[0][2] = rotate[1][0] = rotate[2][1] = rotate[3][3] = 1;
  Volume<TypeParam> dst(5, 3, 4);
  affineLinear(dst, src, rotate);
  for (int z = 0; z < 4; ++z)
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 5; ++x) EXPECT_EQ(dst.at(x, y, z), src.at(y, z, x));
}

TYPED_TEST(AffineOf, CentresCoincideForDifferentSizes) {
  Volume<TypeParam> dst(4, 1, 1);
  affineCenterLinear(dst, axisX<TypeParam>({2, 4, 8}), glm::mat4(1.0f));
  EXPECT_EQ(dst, axisX<TypeParam>({1, 3, 6, 4}));
}

TYPED_TEST(AffineOf, ScalingStretchesByTheRatioOfCounts) {
  Volume<TypeParam> dst(2, 1, 1);
  scaleVolumeLinear(dst, axisX<TypeParam>({1, 3, 10, 20}));  // reads positions 0.5 and 2.5
  EXPECT_EQ(dst, axisX<TypeParam>({2, 15}));
}

TYPED_TEST(AffineOf, TheSameVolumeAsSourceAndDestinationFails) {
  Volume<TypeParam> v(2, 2, 2, TypeParam(1));
  const glm::mat4 m(2.0f);
  EXPECT_TRUE(
      failsAssertion([&] { affineLinear(v, v, m); },
                     "assertion failure (src/numerics/volumetransform.cpp:14): &dst != &src"));
  EXPECT_TRUE(
      failsAssertion([&] { affineCenterLinear(v, v, m); },
                     "assertion failure (src/numerics/volumetransform.cpp:26): &dst != &src"));
  EXPECT_TRUE(
      failsAssertion([&] { scaleVolumeLinear(v, v); },
                     "assertion failure (src/numerics/volumetransform.cpp:37): &dst != &src"));
  EXPECT_EQ(v, Volume<TypeParam>(2, 2, 2, TypeParam(1)));
}

TYPED_TEST(AffineOf, AgreesWithTheReference) {
  Random random(4);
  const auto sizes = testSizes();
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    const auto src = randomVolume<TypeParam>(sizes[i], random);
    const glm::ivec3 target = sizes[(i * 5 + 2) % sizes.size()];
    glm::mat4 m = randomMap(random);
    if (i == 3) m[1][0] = std::numeric_limits<float>::quiet_NaN();
    if (i == 4) m[3][1] = 1e30f;
    Volume<TypeParam> a(target, TypeParam(-1)), b(target, TypeParam(-2));
    affineLinear(a, src, m);
    reference::affineLinear(b, src, m);
    EXPECT_TRUE(same(a, b)) << "plain " << i;
    affineCenterLinear(a, src, m);
    reference::affineCenterLinear(b, src, m);
    EXPECT_TRUE(same(a, b)) << "centred " << i;
    scaleVolumeLinear(a, src);
    reference::scaleVolumeLinear(b, src);
    EXPECT_TRUE(same(a, b)) << "scaled " << i;
  }
}

TEST(Grow, ReplicatesTheNearestEdgeVoxel) {
  Volume<float> v(1, 1, 1, 4.0f);
  growVolumeReplicateBoundary(v, glm::ivec3(7, 7, 7));
  EXPECT_EQ(v, Volume<float>(15, 15, 15, 4.0f));
  Volume<float> line = axisX<float>({1, 2, 3});
  growVolumeReplicateBoundary(line, glm::ivec3(2, 0, 0));
  EXPECT_EQ(line, axisX<float>({1, 1, 1, 2, 3, 3, 3}));
}

TEST(Grow, ByNothingChangesNothing) {
  Random random(5);
  const auto original = randomVolume<float>({3, 2, 4}, random);
  Volume<float> v = original;
  growVolumeReplicateBoundary(v, glm::ivec3(0, 0, 0));
  growVolumeMirror(v, glm::ivec3(0, 0, 0));
  EXPECT_EQ(v, original);
}

TEST(Grow, MirrorRepeatsTheEdgeVoxelUnlikeMirrorIndex) {
  Volume<float> v = axisX<float>({1, 2, 3});
  growVolumeMirror(v, glm::ivec3(2, 0, 0));
  EXPECT_EQ(v, axisX<float>({2, 1, 1, 2, 3, 3, 2}));
}

TEST(Grow, MirrorCutsTheWidthToTheAxisLength) {
  Volume<float> v = axisX<float>({1, 2, 3});
  growVolumeMirror(v, glm::ivec3(9, 5, 0));
  EXPECT_EQ(v.dimensions(), glm::ivec3(9, 3, 1));
  for (int y = 0; y < 3; ++y) {
    const float expected[] = {3, 2, 1, 1, 2, 3, 3, 2, 1};
    for (int x = 0; x < 9; ++x) EXPECT_EQ(v.at(x, y, 0), expected[x]);
  }
}

TEST(Grow, AnAxisOfLengthZeroHasNoEdgeAndIsFilledWithZeros) {
  Volume<float> v(0, 2, 3);
  growVolumeReplicateBoundary(v, glm::ivec3(2, 1, 1));
  EXPECT_EQ(v, Volume<float>(4, 4, 5, 0.0f));
  Volume<float> m(0, 2, 3);
  growVolumeMirror(m, glm::ivec3(2, 1, 1));
  EXPECT_EQ(m.dimensions(), glm::ivec3(0, 4, 5));
}

TEST(Grow, AgreesWithTheReference) {
  Random random(6);
  for (const glm::ivec3 d : testSizes()) {
    const glm::ivec3 g(random.below(9), random.below(9), random.below(9));
    Volume<float> a = randomVolume<float>(d, random);
    sprinkleOddValues(a, random);
    Volume<float> b = a, c = a, e = a;
    const Volume<float> copy = replicatedBoundary(a, g);
    growVolumeReplicateBoundary(a, g);
    reference::growVolumeReplicateBoundary(b, g);
    EXPECT_TRUE(same(a, b));
    EXPECT_TRUE(same(copy, b));
    growVolumeMirror(c, g);
    reference::growVolumeMirror(e, g);
    EXPECT_TRUE(same(c, e));
  }
}

}  // namespace

}  // namespace mirel

#include "picture/warp.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "picture/grids.h"

namespace {

using namespace mirel;
using namespace mirel::picture;
using grids::affineOf;

VectorsLps constantVectors(glm::vec3 lps) {
  const glm::ivec3 dims(2, 3, 2);
  return {Volume<float>(dims, lps.x), Volume<float>(dims, lps.y), Volume<float>(dims, lps.z)};
}

TEST(Warp, IsProjectedOntoTheVoxelAxes) {
  // i runs to the left, j to the front, k up: left +3 is i +3, posterior +4 is j -4.
  const glm::dmat4 affine = affineOf({-2, 0, 0}, {0, 2.5, 0}, {0, 0, 3}, {});
  const VectorsLps vectors = constantVectors({3, 4, 1});
  EXPECT_FLOAT_EQ(alongAxis(vectors, affine, 0).at(1, 2, 1), 3);
  EXPECT_FLOAT_EQ(alongAxis(vectors, affine, 1).at(0, 0, 0), -4);
  EXPECT_FLOAT_EQ(alongAxis(vectors, affine, 2).at(0, 0, 0), 1);
  EXPECT_EQ(principalAxis(vectors, affine), 1);
  EXPECT_EQ(directionText(affine, 0), "along i, to left");
  EXPECT_EQ(directionText(affine, 1), "along j, to anterior");
}

TEST(Warp, OnAnObliqueGridIsWholeAlongItsOwnAxis) {
  const glm::dmat4 affine =
      grids::rotated(30, {0, 0, 0}) * affineOf({2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {});
  const glm::dvec3 shift = glm::dvec3(affine[1]) * 1.75;  // 3.5 mm along j
  const VectorsLps vectors = constantVectors({-shift.x, -shift.y, shift.z});
  EXPECT_EQ(principalAxis(vectors, affine), 1);
  EXPECT_NEAR(alongAxis(vectors, affine, 1).at(1, 1, 1), 3.5, 1e-5);
  EXPECT_NEAR(alongAxis(vectors, affine, 0).at(1, 1, 1), 0, 1e-5);
}

TEST(Warp, KeepsNanAndRefusesComponentsOfDifferentSizes) {
  VectorsLps vectors = constantVectors({0, 1, 0});
  vectors[0].at(0, 0, 0) = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(std::isnan(alongAxis(vectors, glm::dmat4(1.0), 1).at(0, 0, 0)));
  EXPECT_EQ(principalAxis(vectors, glm::dmat4(1.0)), 1);
  vectors[2] = Volume<float>(1, 1, 1, 0.0F);
  EXPECT_THROW(alongAxis(vectors, glm::dmat4(1.0), 1), std::invalid_argument);
}

}  // namespace

#include "picture/layer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/error.h"
#include "picture/grids.h"

namespace {

using namespace mirel;
using namespace mirel::picture;

Layer layerOf(const std::string& name, glm::ivec3 dims, Placement placement, double mm) {
  return {name, Volume<float>(dims, 0.0F), glm::scale(glm::dmat4(1.0), glm::dvec3(mm)), placement};
}

const glm::ivec3 small(3, 4, 5), large(6, 4, 5);

TEST(ShareGrids, GivesMapsThePlaceOfAnImageOfTheirSize) {
  Layer image = layerOf("image.nii", small, Placement::scanner, 2);
  Layer other = layerOf("other.nii", large, Placement::scanner, 3);
  Layer map = layerOf("a.map", small, Placement::nothing, 1);
  Layer second = layerOf("b.map", large, Placement::nothing, 1);
  EXPECT_TRUE(shareGrids({&map, &image, &second, &other}).empty());
  EXPECT_EQ(map.affine, image.affine);
  EXPECT_EQ(map.placement, Placement::scanner);
  EXPECT_EQ(second.affine, other.affine);
}

TEST(ShareGrids, TellsOfImagesWithoutOrientation) {
  Layer image = layerOf("image.nii", small, Placement::scanner, 2);
  Layer bare = layerOf("bare.nii", small, Placement::sizes, 2.5);
  Layer map = layerOf("a.map", small, Placement::nothing, 1);
  EXPECT_THAT(shareGrids({&bare, &map, &image}),
              testing::ElementsAre("bare.nii has no orientation; it is taken to lie as image.nii"));
  EXPECT_EQ(bare.affine, image.affine);
  EXPECT_EQ(map.affine, image.affine);
}

TEST(ShareGrids, TakesVoxelSizesWhereThereIsNoOrientationAtAll) {
  Layer bare = layerOf("bare.nii", small, Placement::sizes, 2.5);
  Layer map = layerOf("a.map", small, Placement::nothing, 1);
  EXPECT_TRUE(shareGrids({&bare, &map}).empty());
  EXPECT_EQ(map.affine, bare.affine);
  EXPECT_EQ(map.placement, Placement::sizes);
}

TEST(RequireSameSpace, RefusesWhatLiesNobodyKnowsWhere) {
  const Layer image = layerOf("image.nii", small, Placement::scanner, 2);
  const Layer other = layerOf("other.nii", large, Placement::scanner, 3);
  const Layer map = layerOf("a.map", large, Placement::nothing, 1);
  const Layer bare = layerOf("bare.nii", small, Placement::sizes, 2);
  requireSameSpace(other, image);
  requireSameSpace(bare, image);
  try {
    requireSameSpace(map, image);
    FAIL();
  } catch (const Error& failure) {
    EXPECT_STREQ(failure.what(),
                 "a.map has no orientation and is of another size (6 x 4 x 5) than image.nii "
                 "(3 x 4 x 5): it is not known where it lies");
  }
  EXPECT_THROW(requireSameSpace(image, map), Error);
}

}  // namespace

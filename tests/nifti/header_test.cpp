#include "nifti/header.h"

#include <gtest/gtest.h>

namespace mirel {

TEST(FloatMapLike, KeepsThePlaceAndDropsWhatBelongsToTheSamples) {
  nifti::Header reference;
  reference.version = 2;
  reference.dims = {4, 5, 6};
  reference.volumes = 7;
  reference.vectorComponents = 3;
  reference.intentCode = 5;
  reference.repetitionTimeSeconds = 2.5;
  reference.slices.code = 3;
  reference.type = nifti::DataType::int16;
  reference.slope = 0.5;
  reference.inter = 100;
  reference.description = "scanner";
  glm::dmat4 affine(1.0);
  affine[0] = {0, 2, 0, 0};
  affine[1] = {-2.5, 0, 0, 0};
  affine[3] = {1, 2, 3, 1};
  reference.setAffine(affine, 2);

  const nifti::Header map = nifti::floatMapLike(reference);
  EXPECT_EQ(map.volumes, 1);
  EXPECT_EQ(map.vectorComponents, 1);
  EXPECT_EQ(map.repetitionTimeSeconds, 0);
  EXPECT_EQ(map.type, nifti::DataType::float32);
  EXPECT_FALSE(map.hasScaling());
  EXPECT_EQ(map.version, 2);
  EXPECT_EQ(map.dims, reference.dims);
  EXPECT_EQ(map.affine(), affine);
  EXPECT_EQ(map.qformCode, 2);
  EXPECT_EQ(map.sformCode, 2);
  EXPECT_EQ(map.qform, reference.qform);
  EXPECT_EQ(map.voxelSizeMm, reference.voxelSizeMm);
  EXPECT_EQ(map.intentCode, 5);
  EXPECT_EQ(map.slices, reference.slices);
  EXPECT_EQ(map.description, "scanner");
}

}  // namespace mirel

#include "field/grid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "field/seriesfiles.h"

namespace mirel {

using namespace seriesfiles;

namespace {

/// Trilinear interpolation reproduces it exactly: of first degree along each axis.
double multilinear(glm::dvec3 mm) { return 3 + 0.5 * mm.x - 0.25 * mm.y + 0.125 * mm.z; }

double wave(glm::dvec3 mm) {
  return 40 * std::sin(0.11 * mm.x) * std::cos(0.09 * mm.y) + 10 * std::sin(0.1 * mm.z);
}

const Grid source{{30, 28, 26}, affineOf({3, 3, 3}, 0, {-42, -40, -36})};
/// Other voxels, turned by 17 degrees, all within the source.
const Grid oblique{{20, 24, 9}, affineOf({1.7, 1.3, 2.9}, 17, {-15, -20, -10})};

}  // namespace

TEST(Grid, APlaneArrivesOnAnObliqueGridOfOtherVoxels) {
  const Volume<float> values = sampled(source, multilinear);
  for (const Interpolation how : {Interpolation::linear, Interpolation::cubic}) {
    const Volume<float> there = resampleTo(oblique, values, source.affine, "field", how);
    // The cubic spline is off by what its zero coefficients beyond the grid leave after 8 voxels.
    EXPECT_LT(largestDifference(there, sampled(oblique, multilinear)),
              how == Interpolation::linear ? 1e-5 : 2e-3);
  }
}

TEST(Grid, ASmoothFieldIsCloserWithTheSpline) {
  const Volume<float> values = sampled(source, wave);
  const Volume<float> truth = sampled(oblique, wave);
  const auto off = [&](Interpolation how) {
    return largestDifference(resampleTo(oblique, values, source.affine, "field", how), truth);
  };
  // h^2/8 times the largest second derivatives: 9/8 * (40 * (0.0121 + 0.0081) + 0.1) = 1.02.
  EXPECT_LT(off(Interpolation::linear), 1.02);
  EXPECT_LT(off(Interpolation::cubic), 0.1);
}

TEST(Grid, BeyondTheBorderTheNearestValueGoesOn) {
  const Grid inner{{4, 3, 2}, affineOf({1, 1, 1})};
  const Grid outer{{10, 9, 8}, affineOf({1, 1, 1}, 0, {-3, -3, -3})};
  const Volume<float> values = smoothImage(inner.dims);
  for (const Interpolation how : {Interpolation::linear, Interpolation::cubic}) {
    const Volume<float> there = resampleTo(outer, values, inner.affine, "field", how);
    const Volume<float> nearest = filled(outer.dims, [&](int x, int y, int z) {
      return values.at(std::clamp(x - 3, 0, 3), std::clamp(y - 3, 0, 2), std::clamp(z - 3, 0, 1));
    });
    EXPECT_LT(largestDifference(there, nearest), 1e-3);
  }
}

TEST(Grid, ASingleSliceAndASingleVoxelHoldEverywhere) {
  const Volume<float> voxel(1, 1, 1, 7.5f);
  EXPECT_EQ(
      largestDifference(resampleTo(oblique, voxel, affineOf({4, 4, 4}), "f", Interpolation::linear),
                        Volume<float>(oblique.dims, 7.5f)),
      0);
}

TEST(Grid, CoincidingGridsCopyBitForBit) {
  Volume<float> values = smoothImage(source.dims);
  values.at(1, 2, 3) = NAN;
  Grid rounded = source;
  rounded.affine[3].x += 1e-4;
  for (const Grid& target : {source, rounded}) {
    const Volume<float> copy =
        resampleTo(target, values, source.affine, "field", Interpolation::linear);
    EXPECT_EQ(std::memcmp(copy.data(), values.data(), values.sizeInBytes()), 0);
  }
}

TEST(Grid, WhatCoincides) {
  Grid moved = source;
  moved.affine[3].x += 0.01;
  EXPECT_TRUE(coincide(source, source));
  EXPECT_FALSE(coincide(source, moved));
  Grid stretched = source;
  stretched.affine[1] *= 1 + 1e-4;
  EXPECT_FALSE(coincide(source, stretched)) << "27 voxels on it is 0.0027 voxels";
  Grid shorter = source;
  shorter.dims.z -= 1;
  EXPECT_FALSE(coincide(source, shorter));
}

TEST(Grid, SingularAndNonFiniteOrientationsAreRefused) {
  const Volume<float> values(2, 2, 2, 0.0f);
  glm::dmat4 flat = affineOf({3, 3, 3});
  flat[2] = flat[1];
  glm::dmat4 wild = affineOf({3, 3, 3});
  wild[3].y = NAN;
  for (const glm::dmat4& affine : {flat, wild})
    EXPECT_THAT(niftifiles::failure(
                    [&] { resampleTo(source, values, affine, "f.nii", Interpolation::linear); }),
                testing::StartsWith("f.nii has an orientation matrix that is "));
}

TEST(Grid, CoverageIsWhatLiesWithinHalfAVoxelOfTheOther) {
  const Grid small{{4, 3, 2}, affineOf({2, 2, 2}, 0, {10, 20, 30})};
  // Half the voxel size: two voxels of it in each of the small grid's, and one beyond.
  const Grid fine{{10, 8, 6}, affineOf({1, 1, 1}, 0, {8.5, 18.5, 28.5})};
  const Volume<float> covered = coverage(fine, small, "f");
  for (int z = 0; z < 6; ++z)
    for (int y = 0; y < 8; ++y)
      for (int x = 0; x < 10; ++x) {
        const bool on = x >= 1 && x < 9 && y >= 1 && y < 7 && z >= 1 && z < 5;
        ASSERT_EQ(covered.at(x, y, z), on ? 1.0f : 0.0f) << x << " " << y << " " << z;
      }
  EXPECT_EQ(coverage(oblique, oblique, "f").min(), 1.0f);
}

}  // namespace mirel

#include "convert/positionblock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <glm/geometric.hpp>
#include <glm/gtc/matrix_transform.hpp>

#include "base/error.h"
#include "nifti/orientation.h"
#include "support/niftifiles.h"

namespace mirel {

using convert::PositionBlock;
using testing::HasSubstr;

namespace {

/// All 48 ways in which the image's axes can lie along the patient's, with voxels of 2 x 2.5 x 3.
std::vector<glm::dmat4> allOrientations() {
  std::vector<glm::dmat4> result;
  int axes[3] = {0, 1, 2};
  do {
    for (int flips = 0; flips < 8; flips++) {
      glm::dmat4 m(0.0);
      const double size[3] = {2, 2.5, 3};
      for (int d = 0; d < 3; d++) m[d][axes[d]] = (flips >> d & 1) != 0 ? -size[d] : size[d];
      m[3] = glm::dvec4(-90.25, 126.5, -71.75, 1);
      result.push_back(m);
    }
  } while (std::next_permutation(axes, axes + 3));
  return result;
}

glm::dmat4 oblique() {
  glm::dmat4 m = glm::rotate(glm::dmat4(1.0), 0.37, glm::dvec3(0.3, -1.0, 0.2));
  m[0] *= -3.375;
  m[1] *= 3.375;
  m[2] *= 3.4;
  m[3] = glm::dvec4(107.8231, -98.17265, -31.902837, 1);
  return m;
}

float sixDigits(double value) {
  char text[32];
  std::snprintf(text, sizeof(text), "%g", static_cast<double>(static_cast<float>(value)));
  return std::strtof(text, nullptr);
}

/// The block as it comes out of a header file.
PositionBlock throughHeader(PositionBlock b) {
  for (glm::dvec3* v : {&b.slice1Center, &b.sliceNCenter, &b.rowDir, &b.colDir})
    for (int d = 0; d < 3; d++) (*v)[d] = static_cast<double>(sixDigits((*v)[d]));
  for (double* v : {&b.fovRows, &b.fovCols, &b.sliceThickness, &b.gapThickness})
    *v = static_cast<double>(sixDigits(*v));
  return b;
}

/// Largest distance in mm between the places that both matrices give to the image's corners.
double cornerDistance(const glm::dmat4& a, const glm::dmat4& b, glm::ivec3 dims) {
  double most = 0;
  for (int n = 0; n < 8; n++) {
    const glm::dvec4 corner((n & 1) != 0 ? dims.x - 1 : 0, (n & 2) != 0 ? dims.y - 1 : 0,
                            (n & 4) != 0 ? dims.z - 1 : 0, 1);
    most = std::max(most, glm::length(glm::dvec3(a * corner - b * corner)));
  }
  return most;
}

const glm::ivec3 grid(72, 64, 39);

}  // namespace

TEST(Geometry, AxialImageAsTheNamesSay) {
  // Columns run towards the patient's left, rows towards posterior, slices upwards.
  const glm::dmat4 m(-2, 0, 0, 0, 0, -2.5, 0, 0, 0, 0, 3, 0, 71, 78.75, -30, 1);
  const PositionBlock b = convert::toPositionBlock(m, {72, 64, 11}, "a.nii");
  EXPECT_EQ(b.rowDir, glm::dvec3(1, 0, 0));
  EXPECT_EQ(b.colDir, glm::dvec3(0, 1, 0));
  EXPECT_EQ(b.slice1Center, glm::dvec3(0, 0, -30));
  EXPECT_EQ(b.sliceNCenter, glm::dvec3(0, 0, 0));
  EXPECT_EQ(b.nRows, 64);
  EXPECT_EQ(b.nCols, 72);
  EXPECT_EQ(b.fovRows, 160);
  EXPECT_EQ(b.fovCols, 144);
  EXPECT_EQ(b.sliceThickness, 3);
  EXPECT_EQ(b.gapThickness, 0);
}

TEST(Geometry, EveryOrientationReturnsExactly) {
  for (const glm::dmat4& m : allOrientations()) {
    const PositionBlock b = throughHeader(convert::toPositionBlock(m, grid, "a.nii"));
    EXPECT_EQ(convert::toAffine(b, grid.z, "a.fmr"), m);
  }
  EXPECT_EQ(allOrientations().size(), 48U);
}

TEST(Geometry, ObliqueImageReturnsWithinTheDigitsOfAHeader) {
  const glm::dmat4 m = oblique();
  const PositionBlock exact = convert::toPositionBlock(m, grid, "a.nii");
  EXPECT_LT(cornerDistance(convert::toAffine(exact, grid.z, "a.fmr"), m, grid), 1e-10);
  EXPECT_LT(cornerDistance(convert::toAffine(throughHeader(exact), grid.z, "a.fmr"), m, grid),
            5e-4);
}

TEST(Geometry, CentresFarFromTheOriginReturnWithinTheStatedAccuracy) {
  glm::dmat4 m = oblique();
  m[3] += glm::dvec4(811.7, -703.3, 617.9, 0);
  const PositionBlock b = throughHeader(convert::toPositionBlock(m, grid, "a.nii"));
  EXPECT_LT(cornerDistance(convert::toAffine(b, grid.z, "a.fmr"), m, grid), 2e-3);
}

TEST(Geometry, ShearedImageReturns) {
  glm::dmat4 m = oblique();
  m[2] += 0.2 * m[1];
  const PositionBlock b = convert::toPositionBlock(m, grid, "a.nii");
  EXPECT_LT(cornerDistance(convert::toAffine(b, grid.z, "a.fmr"), m, grid), 1e-10);
}

TEST(Geometry, SingleSliceHasTheRightHandedNormal) {
  for (const glm::dmat4& m : allOrientations()) {
    const PositionBlock b = throughHeader(convert::toPositionBlock(m, {72, 64, 1}, "a.nii"));
    const glm::dmat4 back = convert::toAffine(b, 1, "a.fmr");
    EXPECT_EQ(back[0], m[0]);
    EXPECT_EQ(back[1], m[1]);
    EXPECT_EQ(back[3], m[3]);
    EXPECT_EQ(back[2], glm::determinant(m) > 0 ? m[2] : -m[2]);
  }
}

TEST(Geometry, GapCountsForASingleSlice) {
  PositionBlock b = convert::toPositionBlock(oblique(), {72, 64, 1}, "a.nii");
  b.sliceThickness = 3;
  b.gapThickness = 0.5;
  EXPECT_NEAR(nifti::columnLengths(convert::toAffine(b, 1, "a.fmr")).z, 3.5, 1e-12);
}

TEST(Geometry, SliceDistanceOfTheCentresWinsWhereItDiffers) {
  PositionBlock b = convert::toPositionBlock(oblique(), grid, "a.nii");
  b.sliceThickness = 3;
  EXPECT_NEAR(nifti::columnLengths(convert::toAffine(b, grid.z, "a.fmr")).z, 3.4, 1e-12);
}

TEST(Geometry, DegenerateOrientationsAreRefused) {
  glm::dmat4 m = oblique();
  m[1] = m[0];
  EXPECT_THAT(niftifiles::failure([&] { convert::toPositionBlock(m, grid, "a.nii"); }),
              HasSubstr("a.nii has an orientation matrix that is singular"));
  m[1] = glm::dvec4(0);
  EXPECT_THROW(convert::toPositionBlock(m, grid, "a.nii"), Error);
  m = oblique();
  m[3].y = NAN;
  EXPECT_THAT(niftifiles::failure([&] { convert::toPositionBlock(m, grid, "a.nii"); }),
              HasSubstr("not finite"));
}

TEST(Geometry, UnusableBlocksAreRefused) {
  const PositionBlock good = convert::toPositionBlock(oblique(), grid, "a.nii");
  const auto message = [&](auto change, int slices) {
    PositionBlock b = good;
    change(b);
    return niftifiles::failure([&] { convert::toAffine(b, slices, "a.fmr"); });
  };
  EXPECT_THAT(message([](PositionBlock& b) { b.rowDir = glm::dvec3(0); }, 39),
              HasSubstr("without row and column directions"));
  EXPECT_THAT(message([](PositionBlock& b) { b.fovCols = 0; }, 39), HasSubstr("voxel sizes"));
  EXPECT_THAT(message([](PositionBlock& b) { b.nRows = 0; }, 39), HasSubstr("voxel sizes"));
  EXPECT_THAT(message([](PositionBlock& b) { b.sliceThickness = 0; }, 1), HasSubstr("voxel sizes"));
  EXPECT_THAT(message([](PositionBlock& b) { b.colDir = b.rowDir; }, 1), HasSubstr("parallel"));
  EXPECT_THAT(message([](PositionBlock& b) { b.slice1Center.x = INFINITY; }, 39),
              HasSubstr("not finite"));
  EXPECT_EQ(message([](PositionBlock&) {}, 39), "nothing");
}

TEST(Geometry, BlocksAreComparedInSixDigits) {
  const PositionBlock exact = convert::toPositionBlock(oblique(), grid, "a.nii");
  EXPECT_TRUE(convert::sameInHeader(exact, throughHeader(exact)));
  PositionBlock moved = exact;
  moved.slice1Center.y += 0.01;
  EXPECT_FALSE(convert::sameInHeader(exact, moved));
  moved = exact;
  moved.nRows++;
  EXPECT_FALSE(convert::sameInHeader(exact, moved));
}

TEST(Geometry, LeftRightConvention) {
  EXPECT_EQ(convert::leftRightConvention(glm::dmat4(1.0)), "Neurological");
  EXPECT_EQ(convert::leftRightConvention(glm::dmat4(-1.0)), "Radiological");
}

TEST(Geometry, OrientationLetters) {
  EXPECT_EQ(nifti::orientationLetters(glm::dmat4(1.0)), "RAS");
  EXPECT_EQ(nifti::orientationLetters(glm::dmat4(-1.0)), "LPI");
  glm::dmat4 sagittal(0.0);
  sagittal[0].y = -2;
  sagittal[1].z = 3;
  sagittal[2].x = 1;
  EXPECT_EQ(nifti::orientationLetters(sagittal), "PSR");
  // 50 degrees about x: j has more of superior than of anterior; k takes what is left.
  glm::dmat4 oblique(1.0);
  oblique[1] = {0, 0.643, 0.766, 0};
  oblique[2] = {0, -0.766, 0.643, 0};
  EXPECT_EQ(nifti::orientationLetters(oblique), "RSP");
  // A sheared grid whose i and j are both nearest to x: the closer fit has it.
  glm::dmat4 sheared(1.0);
  sheared[0] = {0.8, 0.6, 0, 0};
  sheared[1] = {0.9, 0.1, 0, 0};
  EXPECT_EQ(nifti::orientationLetters(sheared), "ARS");
  glm::dmat4 broken(1.0);
  broken[1] = {0, 0, 0, 0};
  EXPECT_EQ(nifti::orientationLetters(broken), "R?S");
}

}  // namespace mirel

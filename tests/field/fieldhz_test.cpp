#include "field/fieldhz.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "field/seriesfiles.h"

namespace mirel {

using namespace seriesfiles;
using niftifiles::failure;
using testing::HasSubstr;

namespace {

constexpr double readout = 0.05;

FieldHz fieldOn(const Grid& grid) {
  return {sampled(grid, [](glm::dvec3 mm) { return 2 * mm.x - mm.y + 0.5 * mm.z + 10; }),
          grid.affine, "field.nii"};
}

const Grid grid{{12, 11, 10}, affineOf({3, 3.5, 4}, 0, {-16, -17, -18})};

}  // namespace

TEST(Field, OnItsOwnGridTheShiftIsFieldTimesReadout) {
  const FieldHz field = fieldOn(grid);
  const Volume<float> shift = shiftVoxels(field, grid, {1, 1}, readout);
  for (int n = 0; n < shift.size(); ++n)
    ASSERT_EQ(shift.data()[n],
              static_cast<float>(readout * static_cast<double>(field.hz.data()[n])));
}

TEST(Field, TheOppositeDirectionNegatesExactly) {
  const FieldHz field = fieldOn({{20, 20, 20}, affineOf({2.1, 2.2, 2.3}, 25, {-20, -21, -22})});
  for (int axis = 0; axis < 3; ++axis) {
    const Volume<float> plus = shiftVoxels(field, grid, {axis, 1}, readout);
    const Volume<float> minus = shiftVoxels(field, grid, {axis, -1}, readout);
    EXPECT_TRUE(minus == -plus);
    EXPECT_GT(plus.max(), 0);
  }
}

TEST(Field, TheReadoutTimeScales) {
  const FieldHz field = fieldOn({{20, 20, 20}, affineOf({2.1, 2.2, 2.3}, 25, {-20, -21, -22})});
  EXPECT_LT(largestDifference(shiftVoxels(field, grid, {1, 1}, 2 * readout),
                              shiftVoxels(field, grid, {1, 1}, readout) * 2.0f),
            1e-6);
}

TEST(Field, ShiftToFieldAndBack) {
  const Volume<float> shift = smoothShift(grid.dims);
  for (const bids::PhaseEncodingDirection direction :
       {bids::PhaseEncodingDirection{1, 1}, bids::PhaseEncodingDirection{0, -1}}) {
    const FieldHz field = fieldFromShift(shift, grid, direction, readout, "map");
    EXPECT_NEAR(field.hz.at(3, 3, 3), direction.sign * double(shift.at(3, 3, 3)) / readout, 1e-4);
    EXPECT_LT(largestDifference(shiftVoxels(field, grid, direction, readout), shift), 3e-7);
  }
}

TEST(Field, ImpossibleReadoutTimesAreRefused) {
  const FieldHz field = fieldOn(grid);
  for (const double seconds : {0.0, -0.05, static_cast<double>(NAN), static_cast<double>(INFINITY)})
    EXPECT_THAT(failure([&] {
                  shiftVoxels(field, grid, {1, 1}, seconds);
                }),
                HasSubstr("readout time"));
}

TEST(Field, ThroughAFile) {
  TemporaryFolder folder;
  const FieldHz field = fieldOn(grid);
  nifti::Header reference = headerOf(grid.dims, grid.affine, 7);
  reference.type = nifti::DataType::int16;
  reference.slope = 2;
  writeField(field, reference, folder.file("f.nii.gz"));
  const FieldHz back = readField(folder.file("f.nii.gz"));
  EXPECT_TRUE(back.hz == field.hz);
  EXPECT_EQ(back.name, folder.file("f.nii.gz"));
  EXPECT_EQ(back.nonFinite, 0);
  EXPECT_LT(std::fabs(back.affine[3].z - grid.affine[3].z), 1e-4);
}

TEST(Field, NonFiniteVoxelsCountAsZeroAndAreCounted) {
  TemporaryFolder folder;
  FieldHz field = fieldOn(grid);
  field.hz.at(0, 0, 0) = NAN;
  field.hz.at(1, 0, 0) = INFINITY;
  writeField(field, headerOf(grid.dims, grid.affine), folder.file("f.nii"));
  const FieldHz back = readField(folder.file("f.nii"));
  EXPECT_EQ(back.nonFinite, 2);
  EXPECT_EQ(back.hz.at(0, 0, 0), 0);
  EXPECT_EQ(back.hz.at(1, 0, 0), 0);
  EXPECT_EQ(back.hz.at(2, 0, 0), field.hz.at(2, 0, 0));
}

TEST(Field, WhatIsNoFieldIsRefused) {
  TemporaryFolder folder;
  const auto constant = [&](float value) {
    return [=](int) { return Volume<float>(grid.dims, value); };
  };
  writeImage(folder.file("series.nii"), headerOf(grid.dims, grid.affine, 3), constant(1));
  EXPECT_THAT(failure([&] { readField(folder.file("series.nii")); }),
              HasSubstr("series.nii has 3 volumes: a field in Hz has one"));
  writeImage(folder.file("nan.nii"), headerOf(grid.dims, grid.affine), constant(NAN));
  EXPECT_THAT(failure([&] { readField(folder.file("nan.nii")); }),
              HasSubstr("nan.nii is no field"));
  EXPECT_THAT(failure([&] { readField(folder.file("none.nii")); }), HasSubstr("does not exist"));
}

}  // namespace mirel

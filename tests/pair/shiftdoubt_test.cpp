#include "pair/shiftdoubt.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace mirel {

namespace {

using testing::HasSubstr;

constexpr glm::ivec3 dims{10, 20, 8};

/// A head in the middle of air.
Volume<float> head() {
  Volume<float> image(dims, 5.0f);
  for (int z = 1; z < 7; ++z)
    for (int y = 4; y < 16; ++y)
      for (int x = 2; x < 8; ++x) image.at(x, y, z) = 500.0f + static_cast<float>(x + y);
  return image;
}

Volume<float> shiftOf(float (*value)(int y)) {
  Volume<float> shift(dims, 0.0f);
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) shift.at(x, y, z) = value(y);
  return shift;
}

std::string doubt(const Volume<float>& shift, int axis = 1) {
  return shiftDoubt(head(), shift, axis, "run.nii", "field.nii");
}

TEST(ShiftDoubt, NoneWhereTheHeadStaysWhole) {
  EXPECT_EQ(doubt(shiftOf([](int) { return 4.9f; })), "");
  EXPECT_EQ(doubt(shiftOf([](int y) { return -0.9f * static_cast<float>(y - 10) / 2; })), "");
  EXPECT_EQ(doubt(shiftOf([](int y) { return y < 2 ? 9.0f : 0.0f; })), "") << "in the air";
}

TEST(ShiftDoubt, DisplacementsOfMoreThanAQuarterOfTheImage) {
  const Volume<float> shift = shiftOf([](int) { return -5.1f; });
  EXPECT_EQ(doubt(shift),
            "CHECK THE UNIT of field.nii: with it 100 % of the head in run.nii are displaced by "
            "more than a quarter of the image");
  EXPECT_THAT(doubt(shift, 0), HasSubstr("a quarter")) << "of 10 voxels";
  EXPECT_EQ(doubt(shiftOf([](int y) { return y == 8 ? 5.1f : 4.9f; }), 1).substr(0, 48),
            "CHECK THE UNIT of field.nii: with it 8 % of the ");
}

TEST(ShiftDoubt, HeadsThatAreFolded) {
  EXPECT_THAT(doubt(shiftOf([](int y) { return y % 4 < 2 ? 2.0f : -1.0f; })),
              HasSubstr("are folded over their neighbours"));
  // Along another axis the same does not fold.
  EXPECT_EQ(doubt(shiftOf([](int y) { return y % 4 < 2 ? 2.0f : -1.0f; }), 0), "");
}

}  // namespace

}  // namespace mirel

#include "report/displacement.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace mirel;
using namespace mirel::report;

// 10 x 10 x 2 voxels, displaced by a tenth of y; the head is the lower slice.
struct Ramp {
  Volume<float> head{10, 10, 2, 0.0F}, shift{10, 10, 2, 0.0F};

  Ramp() {
    for (int z = 0; z < 2; ++z)
      for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x) {
          head.at(x, y, z) = z == 0 ? 1.0F : 0.0F;
          shift.at(x, y, z) = -0.1F * static_cast<float>(y);
        }
  }
};

TEST(Displacement, IsThatOfTheHeadWithoutSign) {
  Ramp ramp;
  ramp.shift.at(3, 3, 1) = 50;  // outside
  const Displacement found = displacementIn(ramp.head, ramp.shift, stretchAlong(ramp.shift, 1));
  EXPECT_NEAR(found.median, 0.5, 0.051);
  EXPECT_NEAR(found.high, 0.9, 1e-6);
  EXPECT_NEAR(found.largest, 0.9, 1e-6);
  EXPECT_EQ(found.stretched, 0);
  EXPECT_EQ(found.folded, 0);
}

TEST(Displacement, TellsWhereTheMapStretchesAndFolds) {
  Ramp ramp;
  ramp.shift = Volume<float>(10, 10, 2, 0.0F);
  // A step of one voxel at y = 5: both of its neighbours see half of it.
  for (int y = 5; y < 10; ++y)
    for (int x = 0; x < 10; ++x) ramp.shift.at(x, y, 0) = 1;
  Displacement found = displacementIn(ramp.head, ramp.shift, stretchAlong(ramp.shift, 1));
  EXPECT_NEAR(found.stretched, 0.2, 1e-6);
  EXPECT_EQ(found.folded, 0);
  ramp.shift *= -2.0F;
  found = displacementIn(ramp.head, ramp.shift, stretchAlong(ramp.shift, 1));
  EXPECT_NEAR(found.folded, 0.2, 1e-6);
  // Along another axis nothing changes.
  EXPECT_EQ(displacementIn(ramp.head, ramp.shift, stretchAlong(ramp.shift, 0)).folded, 0);
}

TEST(Displacement, OfAnEmptyHeadIsNone) {
  const Volume<float> nothing(4, 4, 4, 0.0F);
  const Displacement found = displacementIn(nothing, nothing, nothing);
  EXPECT_EQ(found.largest, 0);
  EXPECT_EQ(found.folded, 0);
}

TEST(QuantileOfSlices, IsNanWhereThereIsNoHead) {
  const Ramp ramp;
  const std::vector<double> most = quantileOfSlices(ramp.head, ramp.shift, 2, 1.0);
  ASSERT_EQ(most.size(), 2U);
  EXPECT_NEAR(most[0], 0.9, 1e-6);
  EXPECT_TRUE(std::isnan(most[1]));
}

}  // namespace

#include "field/belowzero.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace mirel {

using testing::ElementsAre;

TEST(RaiseToZero, TouchesWhatIsBelowZeroAlone) {
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  Volume<float> volume(6, 1, 1, -0.0f);
  EXPECT_FALSE(holdsBelowZero(volume));
  volume.data()[1] = nan;
  volume.data()[2] = 3;
  EXPECT_FALSE(holdsBelowZero(volume));
  volume.data()[3] = -std::numeric_limits<float>::denorm_min();
  volume.data()[4] = -std::numeric_limits<float>::infinity();
  EXPECT_TRUE(holdsBelowZero(volume));
  EXPECT_EQ(raiseToZero(volume), 2);
  EXPECT_TRUE(std::signbit(volume.data()[0]));
  EXPECT_TRUE(std::isnan(volume.data()[1]));
  EXPECT_THAT(std::vector<float>(volume.data() + 2, volume.data() + 6),
              ElementsAre(3, 0, 0, -0.0f));
}

}  // namespace mirel

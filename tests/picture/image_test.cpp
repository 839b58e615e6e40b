#include "picture/image.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace {

using namespace mirel;
using namespace mirel::picture;

constexpr Colour red{255, 0, 0}, blue{0, 0, 255}, black{0, 0, 0};

TEST(RgbImage, IsFilledAndRefusesImpossibleSizes) {
  const RgbImage image(3, 2, red);
  EXPECT_EQ(image.at(2, 1), red);
  EXPECT_THROW(RgbImage(0, 2), std::invalid_argument);
  EXPECT_THROW(RgbImage(2, -1), std::invalid_argument);
  EXPECT_THROW(RgbImage(20001, 1), std::invalid_argument);
}

TEST(RgbImage, PasteLeavesOutWhatFallsOutside) {
  RgbImage image(4, 3);
  image.paste(RgbImage(3, 3, red), -1, 1);
  image.paste(RgbImage(2, 2, blue), 3, -1);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x)
      EXPECT_EQ(image.at(x, y), x == 3 && y == 0  ? blue
                                : x < 2 && y >= 1 ? red
                                                  : black)
          << x << " " << y;
}

TEST(RgbImage, FillsAndBlendsWithinItsBounds) {
  RgbImage image(4, 3, blue);
  image.fill(-5, 1, 7, 50, red);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x) EXPECT_EQ(image.at(x, y), x < 2 && y >= 1 ? red : blue);
  image.blend(3, 0, {100, 200, 55}, 0.5F);
  EXPECT_EQ(image.at(3, 0), (Colour{50, 100, 155}));
  image.blend(4, 0, red, 1.0F);
  image.blend(0, -1, red, 1.0F);
  EXPECT_EQ(image.at(0, 0), blue);
}

TEST(Colours, AreMixedByWeightAndRounded) {
  EXPECT_EQ(mixed(black, {255, 100, 1}, 0.5F), (Colour{128, 50, 1}));
  EXPECT_EQ(mixed(red, blue, 0.0F), red);
  EXPECT_EQ(mixed(red, blue, 1.0F), blue);
  EXPECT_EQ(toByte(-1.0F), 0);
  EXPECT_EQ(toByte(0.5F), 128);
  EXPECT_EQ(toByte(7.0F), 255);
  EXPECT_EQ(toByte(std::numeric_limits<float>::quiet_NaN()), 0);
}

}  // namespace

#include "picture/scale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace mirel;
using namespace mirel::picture;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();

TEST(Window, IsBlackBelowAndWhiteAbove) {
  const Window window{10, 20};
  EXPECT_EQ(window.grey(5), 0);
  EXPECT_EQ(window.grey(15), 0.5F);
  EXPECT_EQ(window.grey(25), 1);
  EXPECT_EQ(window.grey(nan), 0);
  EXPECT_EQ(window.grey(infinite), 1);
  EXPECT_EQ(window.grey(-infinite), 0);
}

TEST(RobustWindow, IsFromTheSecondToTheNinetyEighthPercentileOfTheForeground) {
  // 1000 voxels of air at 0 and a foreground of 101 .. 1100.
  Volume<float> volume(20, 10, 10, 0.0F);
  for (int i = 0; i < 1000; ++i) volume.data()[2 * i] = static_cast<float>(101 + i);
  volume.data()[1] = nan;
  volume.data()[3] = infinite;
  const Window window = robustWindow(volume);
  EXPECT_NEAR(window.low, 120.0F, 12.0F);
  EXPECT_NEAR(window.high, 1080.0F, 2.0F);
}

TEST(RobustWindow, OfConstantsAndOfNothingIsStillAWindow) {
  for (const float value : {0.0F, -7.0F, 5.0F, nan}) {
    const Window window = robustWindow(Volume<float>(3, 3, 3, value));
    EXPECT_GT(window.high, window.low) << value;
  }
  const Window nothing = robustWindow(Volume<float>());
  EXPECT_GT(nothing.high, nothing.low);
}

TEST(RobustWindow, ShowsAMaskWhiteOnBlack) {
  Volume<float> mask(10, 1, 1, 0.0F);
  for (int x = 4; x < 8; ++x) mask.at(x, 0, 0) = 1.0F;
  const Window window = robustWindow(mask);
  EXPECT_EQ(window.grey(0), 0);
  EXPECT_EQ(window.grey(1), 1);
}

TEST(RobustLimit, IsAQuantileOfTheMagnitudesThatAreNotZero) {
  Volume<float> map(10, 10, 3, 0.0F);
  for (int i = 0; i < 101; ++i) map.data()[i] = static_cast<float>(i % 2 ? i : -i);
  EXPECT_NEAR(robustLimit(map, {}, 1.0), 100.0F, 1e-5F);
  EXPECT_NEAR(robustLimit(map, {}, 0.5), 50.0F, 1.0F);
  EXPECT_EQ(robustLimit(Volume<float>(2, 2, 2, 0.0F)), 1.0F);
  EXPECT_EQ(robustLimit(Volume<float>(2, 2, 2, -2e-7F)), 2e-7F);  // a field in T
}

TEST(RobustLimit, LeavesOutWhatHasNoWeight) {
  Volume<float> map(10, 1, 1, 1.0F), weight(10, 1, 1, 1.0F);
  map.data()[3] = -90.0F;
  EXPECT_EQ(robustLimit(map, weight, 1.0), 90.0F);
  weight.data()[3] = 0.0F;
  EXPECT_EQ(robustLimit(map, weight, 1.0), 1.0F);
  EXPECT_EQ(robustLimit(map, Volume<float>(10, 1, 1, 0.0F), 1.0), 90.0F);
}

TEST(RoundedUp, IsTheNextShortNumber) {
  const std::pair<float, float> cases[] = {
      {1, 1},         {1.01F, 1.5F}, {2.6F, 3},   {3.1F, 4}, {4.5F, 5},
      {5.2F, 6},      {7, 8},        {8.5F, 10},  {87, 100}, {0.0123F, 0.015F},
      {1e-6F, 1e-6F}, {0.3F, 0.3F},  {6000, 6000}};
  for (const auto& [value, expected] : cases) EXPECT_FLOAT_EQ(roundedUp(value), expected) << value;
}

TEST(NumberText, IsShortAndHasATrueMinus) {
  EXPECT_EQ(numberText(0), "0");
  EXPECT_EQ(numberText(-0.0), "0");
  EXPECT_EQ(numberText(-2.5), "\u22122.5");
  EXPECT_EQ(numberText(37.5), "37.5");
  EXPECT_EQ(numberText(1500), "1500");
  EXPECT_EQ(numberText(-12345), "\u221212345");
  EXPECT_EQ(fixedText(-0.04, 1), "0.0");
  EXPECT_EQ(fixedText(-12.34, 1), "\u221212.3");
}

TEST(DivergingColour, IsWhiteAtZeroBlueBelowRedAboveAndGreyForNan) {
  EXPECT_EQ(divergingColour(0.0F), (Colour{255, 255, 255}));
  EXPECT_EQ(divergingColour(1.0F), (Colour{178, 24, 43}));
  EXPECT_EQ(divergingColour(-1.0F), (Colour{33, 70, 160}));
  EXPECT_EQ(divergingColour(0.5F), (Colour{217, 140, 149}));
  EXPECT_EQ(divergingColour(2.0F), divergingColour(1.0F));
  EXPECT_EQ(divergingColour(-50.0F), divergingColour(-1.0F));
  EXPECT_EQ(divergingColour(nan), (Colour{128, 128, 128}));
  EXPECT_EQ(divergingColour(infinite), (Colour{128, 128, 128}));
}

}  // namespace

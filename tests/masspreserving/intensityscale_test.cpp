#include "masspreserving/intensityscale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "masspreserving/testdata.h"
#include "support/column.h"

namespace mirel {

namespace {

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();

TEST(SignalLevel, IsTheMeanWeightedWithTheIntensity) {
  EXPECT_DOUBLE_EQ(signalLevel(column({0, 0, 3, 0})), 3.0);
  EXPECT_DOUBLE_EQ(signalLevel(column({1, 3})), (1.0 + 9.0) / 4.0);
  EXPECT_DOUBLE_EQ(signalLevel(column({-1, 3})), (1.0 + 9.0) / 4.0);
}

TEST(SignalLevel, IsZeroWithoutSignalAndCountsOnlyFiniteValues) {
  EXPECT_EQ(signalLevel(column({0, 0})), 0.0);
  EXPECT_EQ(signalLevel(Volume<float>(0, 0, 0)), 0.0);
  EXPECT_EQ(signalLevel(column({notANumber, infinite})), 0.0);
  EXPECT_DOUBLE_EQ(signalLevel(column({notANumber, 2, -infinite})), 2.0);
}

TEST(SignalLevel, TakesTheLargestAndSmallestNumbers) {
  const double large = std::numeric_limits<float>::max();
  EXPECT_NEAR(signalLevel(Volume<float>(4, 4, 4, std::numeric_limits<float>::max())) / large, 1.0,
              1e-12);
  EXPECT_NEAR(signalLevel(Volume<float>(4, 4, 4, 1e-38F)) / 1e-38, 1.0, 1e-6);
}

TEST(LogSignalRatio, IsNotMovedByDistortion) {
  testdata::Pair pair = testdata::makePair({28, 36, 20}, 2.0);
  EXPECT_NEAR(logSignalRatio(pair.first, pair.second), 0.0, 1e-4);
  pair.second *= 3.0F;
  EXPECT_NEAR(logSignalRatio(pair.first, pair.second), -std::log(3.0), 1e-4);
  EXPECT_NEAR(logSignalRatio(pair.second, pair.first), std::log(3.0), 1e-4);
}

TEST(LogSignalRatio, IsTheMedianOfTheSignal) {
  // Five columns of ratio 2; two brighter ones that lost signal do not have the half.
  Volume<float> first(7, 1, 1, 2.0F), second(7, 1, 1, 1.0F);
  for (int x = 0; x < 2; ++x) {
    first.at(x, 0, 0) = 2.5F;
    second.at(x, 0, 0) = 0.01F;
  }
  EXPECT_NEAR(logSignalRatio(first, second), std::log(2.0), 1e-6);
  // Bright columns count more than dim ones.
  Volume<float> one(5, 1, 1, 1.0F), other(5, 1, 1, 3.0F);
  one.at(2, 0, 0) = other.at(2, 0, 0) = 100.0F;
  EXPECT_NEAR(logSignalRatio(one, other), 0.0, 1e-6);
}

TEST(LogSignalRatio, IsZeroWhereNoColumnHasSignalInBoth) {
  EXPECT_EQ(logSignalRatio(column({1, 2}), column({0, 0})), 0.0);
  EXPECT_EQ(logSignalRatio(column({1, 2}), column({-1, -2})), 0.0);
  EXPECT_EQ(logSignalRatio(Volume<float>(0, 0, 0), Volume<float>(0, 0, 0)), 0.0);
  EXPECT_NEAR(logSignalRatio(column({notANumber, 4}), column({1, 1})), std::log(2.0), 1e-6);
}

TEST(ScaledImage, MultipliesAndMakesZerosOfWhatIsNotFinite) {
  const Volume<float> scaled = scaledImage(column({1, -2, notANumber, infinite, -infinite}), 2.5);
  EXPECT_EQ(scaled, column({2.5, -5, 0, 0, 0}));
}

}  // namespace

}  // namespace mirel

#include "phantom/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace mirel {

namespace {

TEST(RandomStream, GivesTheSameNumbersOnEveryMachine) {
  // Pinned: a change of these bits changes every phantom that was ever made.
  const RandomStream random(1, 2);
  EXPECT_EQ(random.bits(0), 0x0fe0a75d9c729db1ULL);
  EXPECT_EQ(random.bits(12345), 0xfaffbe0babc17233ULL);
}

TEST(RandomStream, DependsOnSeedStreamAndCounter) {
  std::set<std::uint64_t> seen;
  for (std::uint64_t seed : {0, 1, 2})
    for (std::uint64_t stream : {0, 1, 2})
      for (std::uint64_t counter = 0; counter < 100; ++counter)
        seen.insert(RandomStream(seed, stream).bits(counter));
  EXPECT_EQ(seen.size(), 900u);
}

TEST(RandomStream, UniformNumbersFillTheIntervalEvenly) {
  const RandomStream random(7, 1);
  constexpr int n = 100000;
  double sum = 0.0, squares = 0.0;
  for (int i = 0; i < n; ++i) {
    const double u = random.uniform(static_cast<std::uint64_t>(i));
    ASSERT_GT(u, 0.0);
    ASSERT_LT(u, 1.0);
    sum += u;
    squares += u * u;
  }
  // Standard errors of mean and mean square: sqrt(1/12/n) and sqrt(4/45/n); five of them.
  EXPECT_NEAR(sum / n, 0.5, 5 * std::sqrt(1.0 / 12 / n));
  EXPECT_NEAR(squares / n, 1.0 / 3, 5 * std::sqrt(4.0 / 45 / n));
}

TEST(RandomStream, NormalPairsHaveUnitVarianceAndAreIndependent) {
  const RandomStream random(7, 2);
  constexpr int n = 100000;
  double mean = 0.0, square = 0.0, product = 0.0, fourth = 0.0;
  for (int i = 0; i < n; ++i) {
    const auto pair = random.normalPair(static_cast<std::uint64_t>(i));
    mean += pair.first + pair.second;
    square += pair.first * pair.first + pair.second * pair.second;
    fourth += std::pow(pair.first, 4) + std::pow(pair.second, 4);
    product += pair.first * pair.second;
  }
  const double error = 5 / std::sqrt(2.0 * n);
  EXPECT_NEAR(mean / (2 * n), 0.0, error);
  EXPECT_NEAR(square / (2 * n), 1.0, error * std::sqrt(2.0));
  EXPECT_NEAR(fourth / (2 * n), 3.0, error * std::sqrt(96.0));
  EXPECT_NEAR(product / n, 0.0, error * std::sqrt(2.0));
}

}  // namespace

}  // namespace mirel

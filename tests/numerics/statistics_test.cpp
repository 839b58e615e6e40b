#include "numerics/statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "support/random_volume.h"

namespace mirel {

TEST(Quantile, IsTheSortedValueOfTheNearestRank) {
  Random random(1);
  for (const int n : {1, 2, 3, 10, 101, 1000}) {
    const Volume<float> volume = random.volume({n, 1, 1}, -5, 5);
    std::vector<float> values(volume.data(), volume.data() + n), sorted = values;
    std::sort(sorted.begin(), sorted.end());
    for (const double fraction : {0.0, 0.02, 0.3, 0.5, 0.98, 0.995, 1.0}) {
      const auto rank = static_cast<std::size_t>(std::floor(fraction * (n - 1) + 0.5));
      EXPECT_EQ(quantile(values, fraction), sorted[rank]) << fraction << " of " << n;
      EXPECT_EQ(valueOfRank(values, rank), sorted[rank]) << rank << " of " << n;
    }
  }
}

TEST(Quantile, RoundsHalfARankUp) {
  std::vector<float> values = {4, 1, 3, 2};
  EXPECT_EQ(quantile(values, 0.5), 3.0f);
  EXPECT_EQ(quantile(values, 0.49), 2.0f);
}

// The sum within the classes, which Otsu's border makes least.
double withinClasses(const std::vector<double>& histogram, int border) {
  double sum = 0;
  for (const bool upper : {false, true}) {
    double n = 0, first = 0, second = 0;
    for (int b = 0; b < static_cast<int>(histogram.size()); ++b) {
      if ((b > border) != upper) continue;
      const double count = histogram[static_cast<std::size_t>(b)];
      n += count;
      first += count * b;
      second += count * b * b;
    }
    if (n > 0) sum += second - first * first / n;
  }
  return sum;
}

TEST(OtsuBorder, LeavesTheLeastVarianceWithinTheClasses) {
  Random random(1);
  for (const int bins : {2, 3, 17, 256}) {
    const Volume<float> counts = random.volume({bins, 1, 1}, 0, 100);
    std::vector<double> histogram;
    for (int b = 0; b < bins; ++b) histogram.push_back(std::floor(counts.data()[b]) + 1);
    const ClassBorder border = otsuBorder(histogram);
    const double found = withinClasses(histogram, border.first);
    for (int b = 0; b + 1 < bins; ++b)
      EXPECT_LE(found, withinClasses(histogram, b) * (1 + 1e-12)) << b << " of " << bins;
  }
}

TEST(OtsuBorder, TellsBothEndsOfAGap) {
  const std::array<double, 9> histogram = {0, 5, 3, 0, 0, 0, 2, 6, 0};
  const ClassBorder border = otsuBorder(histogram);
  EXPECT_EQ(border.first, 2);
  EXPECT_EQ(border.last, 5);
}

TEST(OtsuBorder, IsZeroWhereThereIsOneClass) {
  for (const std::vector<double>& histogram :
       {std::vector<double>{}, {7}, {0, 0, 7}, {0, 0, 0}, {7, 0}}) {
    EXPECT_EQ(otsuBorder(histogram).first, 0);
    EXPECT_EQ(otsuBorder(histogram).last, 0);
  }
}

TEST(Correlation, IsTheDefinition) {
  const std::array<float, 4> a = {1, 2, 3, 4}, b = {2, 1, 4, 3};
  Volume<float> va(4, 1, 1), vb(4, 1, 1);
  va.copyData(a.data());
  vb.copyData(b.data());
  EXPECT_DOUBLE_EQ(correlation(va, vb), 3.0 / 5.0);
  EXPECT_DOUBLE_EQ(correlation(va, -vb), -3.0 / 5.0);
  EXPECT_DOUBLE_EQ(correlation(va, va * 3.0f + 7.0f), 1.0);
}

TEST(Correlation, TakesOnlyTheVoxelsItIsTold) {
  Random random(1);
  const glm::ivec3 dims(5, 4, 3);
  Volume<float> a = random.volume(dims, 0, 9), b = random.volume(dims, 0, 9);
  Volume<float> mask(dims, 0.0f), x(7, 1, 1), y(7, 1, 1);
  std::vector<int> voxels;
  for (int i = 0; i < 7; ++i) {
    const int at = 3 + 8 * i;
    voxels.push_back(at);
    mask.data()[at] = i % 2 == 0 ? 1.0f : -0.5f;
    x.data()[i] = a.data()[at];
    y.data()[i] = b.data()[at];
  }
  EXPECT_EQ(correlation(a, b, mask), correlation(x, y));
  EXPECT_EQ(correlation(a, b, voxels), correlation(x, y));
  a.at(0, 0, 0) = NAN;
  EXPECT_EQ(correlation(a, b, mask), correlation(x, y));
  EXPECT_TRUE(std::isnan(correlation(a, b)));
}

TEST(Correlation, KeepsItsDigitsFarFromZero) {
  Random random(1);
  Volume<float> a = random.volume({20, 10, 5}, 0, 16), b = random.volume({20, 10, 5}, 0, 16);
  for (Volume<float>* v : {&a, &b})  // sixteenths, which the offset below leaves exact
    for (int i = 0; i < v->size(); ++i) v->data()[i] = std::floor(v->data()[i] * 16) / 16;
  const double near = correlation(a, b);
  EXPECT_NEAR(correlation(a + 524288.0f, b + 524288.0f), near, 1e-12);
}

TEST(Correlation, IsUndefinedForConstantsAndForNothing) {
  Random random(1);
  const Volume<float> a = random.volume({4, 3, 2}, 0, 1), constant({4, 3, 2}, 2.0f);
  EXPECT_TRUE(std::isnan(correlation(a, constant)));
  EXPECT_TRUE(std::isnan(correlation(a, a, Volume<float>({4, 3, 2}, 0.0f))));
  EXPECT_TRUE(std::isnan(correlation(Volume<float>(), Volume<float>())));
}

TEST(IsFinite, LooksAtEveryVoxel) {
  EXPECT_TRUE(isFinite(Volume<float>()));
  for (const float odd : {std::numeric_limits<float>::infinity(), -std::nanf("")})
    for (int i = 0; i < 12; ++i) {
      Volume<float> volume({2, 3, 2}, std::numeric_limits<float>::max());
      EXPECT_TRUE(isFinite(volume));
      volume.data()[i] = odd;
      EXPECT_FALSE(isFinite(volume)) << i;
    }
}

}  // namespace mirel

#include "numerics/interpolationkernel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <vector>

#include "support/random_volume.h"

namespace mirel {

namespace {

using Kernel = InterpolationKernel;

double valueOf(const RowTaps& taps, const std::vector<float>& row) {
  return weightedSum(taps, row.data(), 1);
}

double sumOf(const RowTaps& taps) {
  double sum = 0;
  for (int k = 0; k < taps.count; ++k) sum += taps.weights[static_cast<std::size_t>(k)];
  return sum;
}

// The definition read literally.
double sinc(double x) {
  return x == 0 ? 1 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}
double lanczos(double x) { return std::abs(x) < 3 ? sinc(x) * sinc(x / 3) : 0; }

std::vector<double> definedWeights(double position, int n) {
  std::vector<double> weights;
  double sum = 0;
  for (int i = 0; i < n; ++i) {
    weights.push_back(lanczos(position - i));
    sum += weights.back();
  }
  for (double& weight : weights) weight /= sum;
  return weights;
}

std::vector<double> spread(const RowTaps& taps, int n) {
  std::vector<double> weights(static_cast<std::size_t>(n), 0.0);
  for (int k = 0; k < taps.count; ++k)
    weights.at(static_cast<std::size_t>(taps.first + k)) =
        taps.weights[static_cast<std::size_t>(k)];
  return weights;
}

}  // namespace

TEST(InterpolationKernel, HasANameThatLeadsBack) {
  for (const Kernel kernel : {Kernel::linear, Kernel::cubic, Kernel::lanczos})
    EXPECT_EQ(interpolationKernelOf(nameOf(kernel)), kernel);
  EXPECT_EQ(nameOf(Kernel::lanczos), "lanczos");
  for (const char* word : {"", "Linear", "sinc", "lanczos3"})
    EXPECT_FALSE(interpolationKernelOf(word)) << word;
}

TEST(RowTaps, OfTheCubicSplineAreNone) {
  EXPECT_THROW(rowTaps(Kernel::cubic, 1.5, 4), std::logic_error);
}

TEST(RowTaps, AreOfTheSampleAloneAtWholePositions) {
  for (const Kernel kernel : {Kernel::linear, Kernel::lanczos})
    for (int n = 1; n < 9; ++n)
      for (int i = 0; i < n; ++i) {
        const RowTaps taps = rowTaps(kernel, i, n);
        EXPECT_EQ(taps.first, i);
        EXPECT_EQ(taps.count, 1);
        EXPECT_EQ(taps.weights[0], 1.0);
      }
  const std::vector<float> zeros = {3.0F, -0.0F, 5.0F};
  for (const Kernel kernel : {Kernel::linear, Kernel::lanczos})
    EXPECT_TRUE(std::signbit(valueOf(rowTaps(kernel, 1.0, 3), zeros)));
}

TEST(RowTaps, SumToOneWithinTheRow) {
  for (const Kernel kernel : {Kernel::linear, Kernel::lanczos})
    for (int n = 1; n < 12; ++n)
      for (int i = 0; i <= 64 * (n - 1); ++i)
        EXPECT_NEAR(sumOf(rowTaps(kernel, i / 64.0, n)), 1, 4e-16) << n << " " << i / 64.0;
}

// Both ends alike, and farther out nothing.
TEST(RowTaps, FallToZeroWithinOneSampleBeyondTheEnds) {
  for (const Kernel kernel : {Kernel::linear, Kernel::lanczos})
    for (int n = 1; n < 9; ++n) {
      for (const double beyond : {0.0625, 0.5, 0.9375}) {
        const RowTaps before = rowTaps(kernel, -beyond, n),
                      after = rowTaps(kernel, n - 1 + beyond, n);
        EXPECT_EQ(before.count, 1);
        EXPECT_EQ(before.first, 0);
        EXPECT_EQ(before.weights[0], 1 - beyond);
        EXPECT_EQ(after.count, 1);
        EXPECT_EQ(after.first, n - 1);
        EXPECT_EQ(after.weights[0], 1 - beyond);
      }
      for (const double outside :
           {-1.0, -1.5, -1e300, double(n), n + 0.5, 1e300, HUGE_VAL, -HUGE_VAL, std::nan("")})
        EXPECT_EQ(rowTaps(kernel, outside, n).count, 0) << outside;
    }
  EXPECT_EQ(linearTaps(-1e-20, 3).weights[0], 1.0);
}

TEST(LinearTaps, AreExactOnStraightLines) {
  std::vector<float> row;
  for (int i = 0; i < 9; ++i) row.push_back(static_cast<float>(0.25 * i - 3));
  for (int i = 0; i <= 8 * 64; ++i)
    EXPECT_EQ(valueOf(linearTaps(i / 64.0, 9), row), 0.25 * (i / 64.0) - 3);
}

TEST(LanczosTaps, AreTheDefinition) {
  double largest = 0;
  for (int n = 1; n < 12; ++n)
    for (int i = 0; i < 97 * (n - 1); ++i) {
      const double position = i / 97.0;
      const std::vector<double> found = spread(lanczosTaps(position, n), n),
                                defined = definedWeights(position, n);
      for (std::size_t k = 0; k < found.size(); ++k)
        largest = std::max(largest, std::abs(found[k] - defined[k]));
    }
  // Sines of multiples of pi are off by as much as pi is, several units in the last place.
  EXPECT_LT(largest, 4e-15);
}

TEST(LanczosTaps, AreThoseOfTheMirroredRowMirrored) {
  for (const int n : {2, 5, 6, 7, 20})
    for (int i = 0; i <= 32 * (n - 1); ++i) {
      std::vector<double> there = spread(lanczosTaps(n - 1 - i / 32.0, n), n);
      std::reverse(there.begin(), there.end());
      const std::vector<double> here = spread(lanczosTaps(i / 32.0, n), n);
      for (std::size_t k = 0; k < here.size(); ++k) EXPECT_NEAR(here[k], there[k], 4e-16);
    }
}

// Next to a sample, and as next to it as doubles are.
TEST(LanczosTaps, GoOnToTheSamplesWithoutAStep) {
  for (const double t : {1e-8, 1e-16, 1e-100, 1e-200, std::numeric_limits<double>::denorm_min()}) {
    const std::vector<double> weights = spread(lanczosTaps(t, 6), 6);
    EXPECT_NEAR(weights[0], 1, 2 * t) << t;
    EXPECT_NEAR(weights[1], 0, 2 * t) << t;
  }
  EXPECT_NEAR(spread(lanczosTaps(std::nextafter(4.0, 0.0), 9), 9)[4], 1, 1e-14);
}

// Of five samples to a wave.
TEST(LanczosTaps, KeepWavesThatLinearOnesBlur) {
  const auto wave = [](double x) { return std::cos(2 * std::numbers::pi * x / 5); };
  std::vector<float> row;
  for (int i = 0; i < 40; ++i) row.push_back(static_cast<float>(wave(i)));
  double ofLinear = 0, ofLanczos = 0;
  for (int i = 0; i < 64 * 10; ++i) {
    const double x = 15 + i / 64.0;
    ofLinear = std::max(ofLinear, std::abs(valueOf(linearTaps(x, 40), row) - wave(x)));
    ofLanczos = std::max(ofLanczos, std::abs(valueOf(lanczosTaps(x, 40), row) - wave(x)));
  }
  EXPECT_GT(ofLinear, 0.15);
  EXPECT_LT(ofLanczos, 0.03);
}

TEST(InterpolatedAt, IsTheSumOverAllSamples) {
  Random random(3);
  const Volume<float> image = random.volume({7, 4, 9}, -1, 1);
  for (const Kernel kernel : {Kernel::linear, Kernel::lanczos})
    for (int i = 0; i < 200; ++i) {
      const glm::dvec3 p(random.uniform(-1.2, 7.2), random.uniform(-1.2, 4.2),
                         random.uniform(-1.2, 9.2));
      const std::vector<double> x = spread(rowTaps(kernel, p.x, 7), 7),
                                y = spread(rowTaps(kernel, p.y, 4), 4),
                                z = spread(rowTaps(kernel, p.z, 9), 9);
      double sum = 0;
      for (std::size_t k = 0; k < 9; ++k)
        for (std::size_t j = 0; j < 4; ++j)
          for (std::size_t l = 0; l < 7; ++l)
            sum += x[l] * y[j] * z[k] *
                   static_cast<double>(
                       image.at(static_cast<int>(l), static_cast<int>(j), static_cast<int>(k)));
      EXPECT_NEAR(interpolatedAt(image, kernel, p), sum, 2e-15);
    }
}

TEST(InterpolatedAt, HasTheRowsBitsWhereTwoCoordinatesAreWhole) {
  Random random(4);
  const Volume<float> image = random.volume({5, 8, 3}, -1, 1);
  for (const Kernel kernel : {Kernel::linear, Kernel::lanczos})
    for (const double y : {-0.3, 0.0, 2.75, 5.5, 7.25}) {
      const double found = interpolatedAt(image, kernel, {3.0, y, 1.0});
      const double row = weightedSum(rowTaps(kernel, y, 8), &image.at(3, 0, 1), 5);
      EXPECT_EQ(std::bit_cast<std::uint64_t>(found), std::bit_cast<std::uint64_t>(row)) << y;
    }
}

}  // namespace mirel

#include "phase/smoothfield.h"

#include <gtest/gtest.h>

#include <cmath>

#include "field/seriesfiles.h"
#include "phantom/random.h"
#include "phase/harmonic.h"
#include "phase/outliers.h"

namespace mirel {

namespace {

using seriesfiles::filled;

constexpr glm::ivec3 dims{24, 20, 16};
constexpr glm::dvec3 voxelMm(3, 3, 4);

double ramp(int x, int y, int z) { return 3.0 * x - 2.0 * y + 5.0 * z - 20; }

bool isBall(int x, int y, int z) {
  const double dx = x - 12, dy = y - 10, dz = z - 8;
  return dx * dx + dy * dy + dz * dz < 36;
}

Volume<float> ball() {
  return filled(dims, [](int x, int y, int z) { return isBall(x, y, z) ? 1 : 0; });
}

Volume<float> inBall(const std::function<double(int, int, int)>& value) {
  return filled(dims, [&](int x, int y, int z) { return isBall(x, y, z) ? value(x, y, z) : NAN; });
}

Volume<float> noise(double sigma) {
  const RandomStream random(3, 4);
  return filled(dims, [&](int x, int y, int z) {
    return sigma *
           random.normalPair(static_cast<std::uint64_t>((z * dims.y + y) * dims.x + x)).first;
  });
}

const Volume<float> ones(dims, 1.0F);

TEST(VariationOf, NoiseIsToldFromASmoothField) {
  const auto bend = [](int x, int y, int z) { return ramp(x, y, z) + 0.5 * x * x; };
  const FieldVariation found = variationOf(filled(dims, bend) + noise(2), ones);
  EXPECT_NEAR(found.noise, 2, 0.1);
  // One of three axes bends, by 1.
  EXPECT_NEAR(found.curvature, std::sqrt(1 / 3.0), 0.4);
}

TEST(VariationOf, NoiseIsThatOfAReliabilityOfOne) {
  const Volume<float> reliability(dims, 0.5F);
  EXPECT_NEAR(variationOf(noise(4), reliability).noise, 2, 0.1);
}

TEST(SmoothField, ASlopeStaysAsItIs) {
  const Volume<float> slope = filled(dims, ramp);
  const Volume<float> smooth = smoothField(slope, ones, ones, {1, 1}, voxelMm);
  for (int n = 0; n < smooth.size(); ++n) ASSERT_NEAR(smooth.data()[n], slope.data()[n], 0.5);
}

TEST(SmoothField, NoiseGoesAndAHoleIsBridged) {
  Volume<float> measured = filled(dims, ramp) + noise(2);
  for (int x = 10; x < 13; ++x) measured.at(x, 10, 8) = NAN;
  const Volume<float> smooth = smoothField(measured, ones, ones, {2, 0.3}, voxelMm);
  double squares = 0;
  for (int z = 0, n = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x, ++n)
        squares += std::pow(static_cast<double>(smooth.data()[n]) - ramp(x, y, z), 2);
  EXPECT_LT(std::sqrt(squares / smooth.size()), 0.6);
  EXPECT_NEAR(smooth.at(11, 10, 8), ramp(11, 10, 8), 1.5);
}

TEST(SmoothField, WhatIsUnreliableCountsLess) {
  const auto step = [](int x, int, int) { return x == 12 ? 50 : 0; };
  const Volume<float> reliability =
      filled(dims, [](int x, int, int) { return x == 12 ? 0.01 : 1; });
  const Volume<float> trusting = smoothField(filled(dims, step), ones, ones, {1, 2}, voxelMm);
  const Volume<float> wary = smoothField(filled(dims, step), reliability, ones, {1, 2}, voxelMm);
  EXPECT_GT(trusting.at(12, 10, 8), 20);
  EXPECT_LT(wary.at(12, 10, 8), 2);
}

TEST(ContinuedHarmonically, WhatIsKnownStaysAndNothingBeyondIsMoreExtreme) {
  const Volume<float> known = inBall(ramp);
  const Volume<float> whole = continuedHarmonically(known, voxelMm);
  float least = INFINITY, greatest = -INFINITY;
  for (int n = 0; n < known.size(); ++n)
    if (!std::isnan(known.data()[n])) {
      EXPECT_EQ(whole.data()[n], known.data()[n]);
      least = std::min(least, known.data()[n]);
      greatest = std::max(greatest, known.data()[n]);
    }
  EXPECT_GE(whole.min(), least - 0.01F);
  EXPECT_LE(whole.max(), greatest + 0.01F);
}

// The sum of the weighted differences to the neighbours is 0 where the field was continued.
TEST(ContinuedHarmonically, IsHarmonic) {
  const Volume<float> known = inBall(ramp);
  const Volume<float> f = continuedHarmonically(known, glm::dvec3(2));
  double largest = 0;
  for (int z = 1; z + 1 < dims.z; ++z)
    for (int y = 1; y + 1 < dims.y; ++y)
      for (int x = 1; x + 1 < dims.x; ++x)
        if (!isBall(x, y, z))
          largest =
              std::max(largest, std::abs(static_cast<double>(f.at(x - 1, y, z) + f.at(x + 1, y, z) +
                                                             f.at(x, y - 1, z) + f.at(x, y + 1, z) +
                                                             f.at(x, y, z - 1) + f.at(x, y, z + 1) -
                                                             6 * f.at(x, y, z))));
  EXPECT_LT(largest, 0.02);
}

TEST(ContinuedHarmonically, NothingKnownIsZero) {
  EXPECT_EQ(continuedHarmonically(Volume<float>(dims, NAN), voxelMm), Volume<float>(dims, 0.0F));
}

TEST(RemoveOutliers, OneVoxelGoesASlopeStays) {
  Volume<float> field = inBall(ramp);
  field.at(12, 10, 8) += 60;
  EXPECT_EQ(removeOutliers(field, ball(), 1, 5, 40), 1);
  EXPECT_TRUE(std::isnan(field.at(12, 10, 8)));
  field = inBall(ramp);
  field.at(12, 10, 8) += 60;
  EXPECT_EQ(removeOutliers(field, ball(), 15, 5, 40), 0) << "the noise allows it";
}

}  // namespace

}  // namespace mirel

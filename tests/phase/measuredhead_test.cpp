#include "phase/measuredhead.h"

#include <gtest/gtest.h>

#include <cmath>

#include "field/seriesfiles.h"
#include "phantom/random.h"

namespace mirel {

namespace {

using seriesfiles::filled;

constexpr glm::ivec3 dims{32, 30, 24};

double radius(int x, int y, int z) {
  return std::sqrt((x - 16.0) * (x - 16) + (y - 15.0) * (y - 15) + (z - 12.0) * (z - 12));
}

// A ball of 1000 in noise of air, one half of it twice as bright, with a dark cavity.
double magnitude(int x, int y, int z) {
  const double noise = 20 + 5 * std::sin(12.9 * x + 78.2 * y + 37.7 * z);
  if (radius(x, y, z) > 10 || radius(x, y, z) < 2) return noise;
  return x < 16 ? 1000 : 2000;
}

TEST(HeadOfMagnitude, CavitiesAreOfTheHeadButTellNoField) {
  const MeasuredHead head = headOfMagnitude(filled(dims, magnitude));
  EXPECT_EQ(head.inside.at(16, 15, 12), 1);
  EXPECT_EQ(head.reliability.at(16, 15, 12), 0);
  EXPECT_EQ(head.inside.at(1, 1, 1), 0);
  EXPECT_EQ(head.reliability.at(1, 1, 1), 0);
  EXPECT_FLOAT_EQ(head.reliability.at(22, 15, 12), 2 * head.reliability.at(10, 15, 12));
}

TEST(HeadOfMagnitude, VoxelsThatAreNotFiniteTellNothing) {
  Volume<float> image = filled(dims, magnitude);
  image.at(22, 15, 12) = NAN;
  image.at(10, 15, 12) = INFINITY;
  const MeasuredHead head = headOfMagnitude(image);
  EXPECT_EQ(head.reliability.at(22, 15, 12), 0);
  EXPECT_EQ(head.reliability.at(10, 15, 12), 0);
  EXPECT_GT(head.reliability.at(22, 15, 13), 0);
}

TEST(HeadOfMagnitude, AConstantImageHasNoSignal) {
  const MeasuredHead head = headOfMagnitude(Volume<float>(dims, 0.0F));
  EXPECT_EQ(head.reliability, Volume<float>(dims, 0.0F));
}

TEST(HeadOfPhase, SmoothPhasesAreTheHeadAndNoiseIsNot) {
  const RandomStream random(5, 6);
  const Volume<float> phase = filled(dims, [&](int x, int y, int z) {
    const double noise =
        6.28 * random.uniform(static_cast<std::uint64_t>((z * dims.y + y) * dims.x + x)) - 3.14;
    return radius(x, y, z) < 10 ? std::remainder(0.3 * x + 0.2 * y, 6.2832) : noise;
  });
  const MeasuredHead head = headOfPhase(phase);
  int missed = 0, wrong = 0, inBall = 0;
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) {
        const bool isIn = head.reliability.at(x, y, z) > 0;
        inBall += radius(x, y, z) < 9;
        missed += radius(x, y, z) < 9 && !isIn;
        wrong += radius(x, y, z) > 12 && isIn;
      }
  EXPECT_LT(missed, inBall / 50);
  EXPECT_LT(wrong, inBall / 50);
}

}  // namespace

}  // namespace mirel

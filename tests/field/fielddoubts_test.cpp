#include "field/fielddoubts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "field/seriesfiles.h"

namespace mirel {

namespace {

using seriesfiles::filled;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr glm::ivec3 dims{9, 8, 7};

/// From `least` to `greatest` in equal steps.
Volume<float> ramp(double least, double greatest) {
  return filled(dims, [=](int x, int y, int z) {
    return least + (greatest - least) * (x + dims.x * (y + dims.y * z)) / (9.0 * 8 * 7 - 1);
  });
}

Volume<float> rounded(Volume<float> values) {
  for (int n = 0; n < values.size(); ++n) values.data()[n] = std::round(values.data()[n]);
  return values;
}

TEST(FieldDoubts, NoneAboutAField) {
  EXPECT_THAT(doubtsAbout(ramp(-80, 250), 1, false), IsEmpty());
  EXPECT_THAT(doubtsAbout(ramp(-500, 1570), 0.159, true), IsEmpty());
  EXPECT_THAT(doubtsAbout(rounded(ramp(-80, 250)), 1, true), IsEmpty()) << "the scanner's own";
  EXPECT_THAT(doubtsAbout(Volume<float>(dims, 10.0f), 1, false), IsEmpty());
}

TEST(FieldDoubts, TheRangesOfPhases) {
  const double pi = std::acos(-1.0);
  for (const auto& [least, greatest] : {std::pair{0.0, 4095.0},
                                        {-4096.0, 4094.0},
                                        {-2048.0, 2047.0},
                                        {-3141.0, 3142.0},
                                        {-pi, pi},
                                        {0.0, 2 * pi}})
    EXPECT_THAT(doubtsAbout(ramp(least, greatest), 1, true)[0], HasSubstr("range of raw phase"))
        << greatest;
  for (const auto& [least, greatest] : {std::pair{0.0, 3000.0}, {-2.5, 3.1}, {-4096.0, 100.0}})
    for (const std::string& doubt : doubtsAbout(ramp(least, greatest), 1, true))
      EXPECT_THAT(doubt, testing::Not(HasSubstr("phase"))) << greatest;
}

TEST(FieldDoubts, WhatNoHeadHas) {
  EXPECT_THAT(doubtsAbout(ramp(-9000, 9500), 1, true),
              ElementsAre(HasSubstr("Hz in half of its voxels")));
  EXPECT_THAT(doubtsAbout(ramp(-9000, 9500), 0.159, true), IsEmpty());
  EXPECT_THAT(doubtsAbout(rounded(ramp(-80, 250)), 1, false),
              ElementsAre(HasSubstr("whole numbers only")));
  EXPECT_THAT(doubtsAbout(ramp(-1e-6, 2e-6), 1, false), ElementsAre(HasSubstr("nothing moves")));
  EXPECT_THAT(doubtsAbout(ramp(-1e-6, 2e-6), 42.6e6, true), IsEmpty());
}

}  // namespace

}  // namespace mirel

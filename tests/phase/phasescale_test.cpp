#include "phase/phasescale.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "support/niftifiles.h"

namespace mirel {

namespace {

using testing::HasSubstr;
constexpr double pi = std::numbers::pi;

// Phases that go round several times, from `lowest` on in steps to just below `highest`.
Volume<float> turning(double lowest, double highest, double step) {
  Volume<float> values(32, 16, 8);
  const int steps = static_cast<int>((highest - lowest) / step);
  for (int n = 0; n < values.size(); ++n)
    values.data()[n] = static_cast<float>(lowest + step * ((n * 37) % steps));
  values.data()[0] = static_cast<float>(lowest);
  values.data()[1] = static_cast<float>(lowest + step * (steps - 1));
  return values;
}

double radiansOfOne(double value, const PhaseScale& scale) {
  return radiansOf(Volume<float>(1, 1, 1, static_cast<float>(value)), scale).data()[0];
}

std::string refusal(const Volume<float>& values, const nifti::Header& header = {},
                    std::optional<bids::Unit> stated = {}) {
  return niftifiles::failure([&] { phaseScaleOf(values, header, stated, "p.nii"); });
}

TEST(PhaseScaleOf, TheRangesOfScanners) {
  struct Case {
    double lowest, highest, step, quarter;  // the value that is a quarter of a turn
  };
  for (const Case& one : {Case{0, 4096, 1, 3072}, Case{-4096, 4096, 2, 2048},
                          Case{-2048, 2048, 1, 1024}, Case{-3141.6, 3141.6, 1.534, 1570.8},
                          Case{-pi, pi, 0.001, pi / 2}, Case{0, 2 * pi, 0.001, pi / 2}}) {
    const PhaseScale scale = phaseScaleOf(turning(one.lowest, one.highest, one.step), {}, {}, "p");
    EXPECT_EQ(scale.source, PhaseScale::Source::range);
    EXPECT_NEAR(radiansOfOne(one.quarter, scale), pi / 2, 1e-3) << scale.name;
  }
}

TEST(PhaseScaleOf, SlopeAndInterceptTellAScaleThatIsNotFilled) {
  nifti::Header header;
  header.slope = 2;
  header.inter = -4096;
  const Volume<float> values = turning(-1000, 1200, 2);
  const PhaseScale scale = phaseScaleOf(values, header, {}, "p");
  EXPECT_EQ(scale.sourceText(), "slope and intercept");
  EXPECT_NEAR(radiansOfOne(1024, scale), pi / 4, 1e-6);
  EXPECT_THAT(refusal(values * 5.0F, header), HasSubstr("beyond the phases -4096 .. 4094"));
}

TEST(PhaseScaleOf, RadiansThatAreStatedNeedNotFillTheTurn) {
  const Volume<float> values = turning(-1, 2, 0.01);
  EXPECT_EQ(phaseScaleOf(values, {}, bids::Unit::radians, "p").name, "radians");
  EXPECT_THAT(refusal(values), HasSubstr("no scale of phases that is known"));
  EXPECT_THAT(refusal(values * 3.0F, {}, bids::Unit::radians), HasSubstr("more than a turn"));
  EXPECT_THAT(refusal(values, {}, bids::Unit::hertz), HasSubstr("p.nii is in Hz, not a phase"));
}

TEST(PhaseScaleOf, AMagnitudeIsRefusedEvenWhereItFillsTheRange) {
  Volume<float> bump(32, 32, 16);
  for (int z = 0, n = 0; z < 16; ++z)
    for (int y = 0; y < 32; ++y)
      for (int x = 0; x < 32; ++x, ++n)
        bump.data()[n] = static_cast<float>(
            4090 *
            std::exp(-0.01 * ((x - 16) * (x - 16) + (y - 16) * (y - 16) + (z - 8) * (z - 8))));
  EXPECT_THAT(refusal(bump), HasSubstr("is it a magnitude?"));
  EXPECT_THAT(refusal(bump * 0.4F), HasSubstr("no scale of phases that is known"));
}

TEST(PhaseScaleOf, OneValueIsNoPhaseAndNaNIsLeftOut) {
  EXPECT_THAT(refusal(Volume<float>(4, 4, 4, 7.0F)), HasSubstr("the same value"));
  EXPECT_THAT(refusal(Volume<float>(4, 4, 4, NAN)), HasSubstr("the same value"));
  Volume<float> values = turning(0, 4096, 1);
  values.data()[9] = NAN;
  const PhaseScale scale = phaseScaleOf(values, {}, {}, "p");
  EXPECT_TRUE(std::isnan(radiansOf(values, scale).data()[9]));
}

}  // namespace

}  // namespace mirel

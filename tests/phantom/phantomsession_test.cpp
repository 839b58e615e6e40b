#include "phantom/phantomsession.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "containers/volume.h"

namespace mirel {

namespace {

constexpr auto alongY = PhaseEncodingAxis::y;

PhantomOptions smallOptions() {
  PhantomOptions options;
  options.size = {24, 28, 10};
  options.voxelMm = {9.0, 9.0, 14.0};
  options.readoutSeconds = 0.06;
  options.maxShiftVoxels = 1.8;
  options.volumes = 6;
  return options;
}

double sumOf(const Volume<float>& image) {
  double sum = 0.0;
  for (int i = 0; i < image.size(); ++i) sum += image.data()[i];
  return sum;
}

float largestOf(const Volume<float>& image) {
  float largest = 0.0F;
  for (int i = 0; i < image.size(); ++i) largest = std::max(largest, std::abs(image.data()[i]));
  return largest;
}

TEST(PhantomSessionTest, ReadoutsScaleTheShiftAndDirectionsTurnItRound) {
  const PhantomSession session = PhantomHead(smallOptions()).session(1);
  const Volume<float> shift = session.shiftVoxels(0.04, /*positive=*/true);
  const Volume<float> back = session.shiftVoxels(0.02, /*positive=*/false);
  EXPECT_GT(largestOf(shift), 0.4F);
  for (int i = 0; i < shift.size(); ++i) {
    EXPECT_FLOAT_EQ(shift.data()[i], session.fieldHz.data()[i] * 0.04F);
    EXPECT_FLOAT_EQ(back.data()[i], -0.5F * shift.data()[i]);
  }
}

TEST(PhantomSessionTest, AtTheLongestReadoutNoScanFoldsOrLosesSignal) {
  const PhantomOptions options = smallOptions();
  const PhantomHead head(options);
  for (int number = 0; number < 4; ++number) {
    const PhantomSession session = head.session(number);
    const Volume<float> shift = session.shiftVoxels(options.readoutSeconds, true);
    EXPECT_LE(largestOf(shiftDerivative(shift, alongY)), 0.801F) << number;
    const double before = sumOf(ScanImages(session.spinEcho, shift * 0.0F, alongY).volume(0));
    for (const Volume<float>& s : {shift, -shift}) {
      const double after = sumOf(ScanImages(session.spinEcho, s, alongY).volume(0));
      EXPECT_NEAR(after / before, 1.0, 0.002) << number;
    }
  }
}

TEST(PhantomSessionTest, SessionsShowTheSameHeadInAnotherField) {
  const PhantomHead head(smallOptions());
  const PhantomSession one = head.session(1), again = head.session(1), two = head.session(2);
  EXPECT_TRUE(one.fieldHz == again.fieldHz);
  EXPECT_TRUE(one.spinEcho.components[0] == again.spinEcho.components[0]);
  EXPECT_GT(largestOf(one.fieldHz - two.fieldHz), 0.05F * largestOf(one.fieldHz));
  EXPECT_NEAR(one.noiseSigma / two.noiseSigma, 1.0, 0.05);
  PhantomOptions other = smallOptions();
  other.seed = 2;
  EXPECT_FALSE(PhantomHead(other).session(1).spinEcho.components[0] == one.spinEcho.components[0]);
}

TEST(PhantomSessionTest, TheSeriesDriftsAndTakesTurnsWithActivity) {
  const PhantomSession session = PhantomHead(smallOptions()).session(0);
  ASSERT_EQ(session.series.volumes(), 6);
  const ScanImages images(session.series, session.fieldHz * 0.0F, alongY);
  const Volume<float> rest = images.volume(0), active = images.volume(4);
  EXPECT_NEAR(sumOf(images.volume(3)) / sumOf(rest), 1.003, 1e-5);
  float most = 0.0F, least = 1e9F;
  for (int i = 0; i < rest.size(); ++i)
    if (session.brainMask.data()[i] && rest.data()[i] > 100.0F) {
      most = std::max(most, active.data()[i] / rest.data()[i]);
      least = std::min(least, active.data()[i] / rest.data()[i]);
    }
  EXPECT_NEAR(least, 1.004F, 0.0005F);
  EXPECT_GT(most, 1.01F);
  EXPECT_THROW(images.volume(6), std::out_of_range);
}

TEST(PhantomSessionTest, DiffusionDarkensTheBrainByItsDirection) {
  const PhantomSession session = PhantomHead(smallOptions()).session(0);
  const nifti::GradientTable& table = session.gradients;
  ASSERT_EQ(session.diffusion.volumes(), 9);
  ASSERT_EQ(table.bValues.size(), 9u);
  const ScanImages images(session.diffusion, session.fieldHz * 0.0F, alongY);
  const ScanImages plain(session.spinEcho, session.fieldHz * 0.0F, alongY);
  for (int t = 0; t < 9; ++t) {
    const auto n = static_cast<std::size_t>(t);
    EXPECT_EQ(table.bValues[n], t % 4 == 0 ? 0.0F : 1000.0F);
    const glm::vec3 g = table.directions[n];
    EXPECT_NEAR(g.x * g.x + g.y * g.y + g.z * g.z, t % 4 == 0 ? 0.0F : 1.0F, 1e-6F);
    const double mean = meanInMask(images.volume(t), session.brainMask);
    const double unweighted = meanInMask(plain.volume(0), session.brainMask);
    if (t % 4 == 0)
      EXPECT_DOUBLE_EQ(mean, unweighted);
    else
      EXPECT_LT(mean, 0.7 * unweighted) << t;
  }
  // Directions with and without a part along x.
  EXPECT_LT(meanInMask(images.volume(1), session.brainMask),
            0.9 * meanInMask(images.volume(3), session.brainMask));
}

TEST(PhantomSessionTest, OptionsThatMakeNoSenseAreRefused) {
  PhantomOptions options = smallOptions();
  options.readoutSeconds = 0.0;
  EXPECT_THROW(PhantomHead{options}, std::invalid_argument);
  options = smallOptions();
  options.size.x = 0;
  EXPECT_THROW(PhantomHead{options}, std::invalid_argument);
}

}  // namespace

}  // namespace mirel

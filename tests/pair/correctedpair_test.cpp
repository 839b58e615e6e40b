#include "pair/correctedpair.h"

#include <gtest/gtest.h>

#include <cmath>

#include "masspreserving/masspreserving.h"
#include "pair/pairestimate.h"
#include "support/smallpair.h"

namespace mirel {

namespace {

using Kernel = InterpolationKernel;

EstimateSettings settingsOf(Kernel kernel) {
  EstimateSettings settings;
  settings.motion = false;
  settings.interpolation = kernel;
  return settings;
}

double rmsDifferenceIn(const Volume<unsigned char>& mask, const Volume<float>& a,
                       const Volume<float>& b) {
  double sum = 0, count = 0;
  for (int n = 0; n < a.size(); ++n) {
    if (mask.data()[n] == 0) continue;
    const double off = static_cast<double>(a.data()[n]) - static_cast<double>(b.data()[n]);
    sum += off * off;
    ++count;
  }
  return std::sqrt(sum / count);
}

}  // namespace

// The map, the figures and what others are compared with are those of cubic splines.
TEST(CorrectedPair, OnlyTheImagesDependOnTheInterpolation) {
  const PairInput pair = smallPair();
  const PairEstimate cubic = estimatePairMap(pair, settingsOf(Kernel::cubic), noProgress);
  EXPECT_FALSE(cubic.otherMeanToCompare);
  for (const Kernel kernel : {Kernel::linear, Kernel::lanczos}) {
    const PairEstimate other = estimatePairMap(pair, settingsOf(kernel), noProgress);
    EXPECT_TRUE(other.shift == cubic.shift);
    EXPECT_TRUE(other.meanToCompare() == cubic.mean);
    EXPECT_EQ(other.agreement.modulated, cubic.agreement.modulated);
    EXPECT_EQ(other.verdict.figures.residual, cubic.verdict.figures.residual);
    EXPECT_TRUE(other.correctedA ==
                correctVolume(pair.a.image, other.shift, 1, Modulation::on, kernel));
    EXPECT_TRUE(other.correctedB ==
                correctVolume(pair.b.image, -other.shift, 1, Modulation::on, kernel));
    EXPECT_FALSE(other.mean == cubic.mean);
    EXPECT_NE(other.agreement.after, cubic.agreement.after);
    EXPECT_LT(rmsInBrain(other.mean, cubic.mean), 30);
  }
}

TEST(CorrectedPair, KeepsABackgroundThatWasAdded) {
  PairInput pair = smallPair();
  const PairEstimate without = estimatePairMap(pair, settingsOf(Kernel::lanczos), noProgress);
  pair.a.image += 1000.0F;
  const PairEstimate with = estimatePairMap(pair, settingsOf(Kernel::lanczos), noProgress);
  ASSERT_GT(with.backgroundA, 900);
  EXPECT_LT(rmsInBrain(with.correctedA, without.correctedA + 1000.0F), 20);
}

// A head that moved is brought back as cubic splines do it in two steps, whatever the axis.
TEST(CorrectedPair, BringsAHeadThatMovedBack) {
  PhantomOptions options;
  options.size = {40, 48, 28};
  options.voxelMm = {4.5, 4, 5};
  options.maxShiftVoxels = 3;
  options.noise = 0;
  options.volumes = 0;
  options.paMotion = {{2, -3, 3}, {3, -4, 5}};
  const Phantom phantom = makePhantom(options);
  const Volume<float>& shift = phantom.shiftVoxels;
  const Volume<float> twice =
      correctVolume(secondUnmoved(phantom.pa, options.voxelMm, options.paMotion, shift), -shift, 1,
                    Modulation::on);
  for (const int axis : {1, 0}) {
    PairInput pair = smallPair();
    for (InputImage* image : {&pair.a, &pair.b}) {
      image->acquisition.direction->value.axis = axis;
      image->header.setAffine(
          glm::dmat4({axis == 0 ? 4.0 : 4.5, 0, 0, 0}, {0, axis == 0 ? 4.5 : 4.0, 0, 0},
                     {0, 0, 5, 0}, {-80, -90, -60, 1}),
          1);
      image->header.dims = exchangedWithY(shift, axis).dimensions();
    }
    pair.a.image = exchangedWithY(phantom.ap, axis);
    pair.b.image = exchangedWithY(phantom.pa, axis);
    const Volume<float> turned = exchangedWithY(shift, axis);
    const RigidMotion motion = axis == 1 ? options.paMotion : options.paMotion.withExchanged(0, 1);
    for (const Kernel kernel : {Kernel::cubic, Kernel::lanczos}) {
      const CorrectedPair corrected =
          correctPairImages(pair, {turned, motion, Modulation::on, kernel});
      const Volume<float> b = exchangedWithY(corrected.b, axis);
      const double before = rmsDifferenceIn(phantom.brainMask, phantom.pa, phantom.truth);
      EXPECT_LT(rmsDifferenceIn(phantom.brainMask, b, twice), 0.08 * before) << axis;
      EXPECT_LT(rmsDifferenceIn(phantom.brainMask, b, phantom.truth), 0.25 * before) << axis;
    }
  }
}

}  // namespace mirel

#include "motion/volumealigner.h"

#include <gtest/gtest.h>

#include <glm/matrix.hpp>
#include <memory>

#include "motion/credible.h"
#include "motion/realignment.h"
#include "phantom/gridheader.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

const std::vector<RigidMotion> motions = {
    {}, {}, {{1.5, -1, 2}, {2, -1.5, 3}}, {{-4, 4, 4}, {4, -4, 4}}, {{0, 3, 0}, {0, 0, 8}}};

glm::dmat4 placeOf(const RigidMotion& motion) {
  glm::dmat4 m(motion.rotation());
  m[3] = glm::dvec4(motion.translationMm, 1.0);
  return m;
}

/// A simulated head that moves, its field with it; made once.
class VolumeAlignment : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    PhantomOptions options;
    options.size = {48, 56, 32};
    options.voxelMm = glm::dvec3(4.0);
    options.readoutSeconds = 0.04;
    options.maxShiftVoxels = 3;
    options.volumes = static_cast<int>(motions.size());
    options.volumeMotion = motions;
    phantom = std::make_unique<Phantom>(makePhantom(options));
    grid = gridOf(headerOn({options.size, options.voxelMm}, nifti::DataType::float32, 1, 2, ""));
  }
  static void TearDownTestSuite() { phantom.reset(); }

  static VolumeAligner aligner(const Volume<float>& shift) {
    return {phantom->seriesVolume(0), {grid, shift, 1}, "head"};
  }
  /// With as much noise as this fraction of the brain's mean signal, and another `stream` of it.
  static Volume<float> noisy(int volume, double noise, std::uint64_t stream) {
    return addRicianNoise(phantom->seriesVolume(volume),
                          noise / PhantomOptions().noise * phantom->noiseSigma, 5, stream);
  }
  static double errorMm(const VolumeFit& fit, std::size_t volume) {
    return displacementMm(fit.motion * glm::inverse(placeOf(motions[volume])), grid);
  }

  VolumeAligner::Scratch scratch;
  static inline std::unique_ptr<Phantom> phantom;
  static inline Grid grid;
};

}  // namespace

TEST_F(VolumeAlignment, FindsTheMotionOfADistortedHead) {
  const VolumeAligner with = aligner(phantom->shiftVoxels);
  for (std::size_t t = 1; t < motions.size(); ++t) {
    const VolumeFit fit = with.align(phantom->seriesVolume(static_cast<int>(t)), scratch);
    EXPECT_TRUE(fit.converged) << t;
    EXPECT_LT(errorMm(fit, t), 0.1) << t;
    EXPECT_LT(errorMm(fit, t), 4 * fit.standardErrorMm) << t;
    EXPECT_EQ(judgedFit(fit, grid).outcome,
              t == 1 ? RealignedVolume::Outcome::notMoved : RealignedVolume::Outcome::moved)
        << t;
  }
}

// What the field displaces goes along with the head, in a direction that turns against it.
TEST_F(VolumeAlignment, IsBetterWithTheDistortionThanWithout) {
  const Volume<float> none(grid.dims, 0.0F);
  const VolumeAligner with = aligner(phantom->shiftVoxels), without = aligner(none);
  for (const std::size_t t : {std::size_t{3}, std::size_t{4}}) {
    const Volume<float> volume = phantom->seriesVolume(static_cast<int>(t));
    EXPECT_LT(2 * errorMm(with.align(volume, scratch), t),
              errorMm(without.align(volume, scratch), t))
        << t;
  }
}

// The reference's noise is the same for all volumes, and in its slopes, too.
TEST_F(VolumeAlignment, AHeadThatKeptStillIsLeftAloneInStrongNoise) {
  for (std::uint64_t reference = 1; reference <= 3; ++reference) {
    const VolumeAligner with(noisy(0, 0.2, reference), {grid, phantom->shiftVoxels, 1}, "head");
    for (std::uint64_t stream = 10; stream < 14; ++stream) {
      const VolumeFit fit = with.align(noisy(0, 0.2, stream), scratch);
      EXPECT_LT(displacementMm(fit.motion, grid), 2 * fit.standardErrorMm) << reference;
    }
  }
}

TEST_F(VolumeAlignment, ComesToAnEndInStrongNoise) {
  const VolumeAligner with(noisy(0, 0.3, 1), {grid, phantom->shiftVoxels, 1}, "head");
  for (std::size_t t = 1; t < motions.size(); ++t) {
    const VolumeFit fit = with.align(noisy(static_cast<int>(t), 0.3, t + 10), scratch);
    EXPECT_TRUE(fit.converged) << t;
    EXPECT_LT(errorMm(fit, t), 3 * fit.standardErrorMm) << t;
  }
}

TEST_F(VolumeAlignment, TakesNoNoticeOfBrightness) {
  const VolumeAligner with = aligner(phantom->shiftVoxels);
  const VolumeFit fit = with.align(phantom->seriesVolume(2), scratch),
                  bright = with.align(phantom->seriesVolume(2) * 3.0F, scratch);
  EXPECT_LT(displacementMm(bright.motion * glm::inverse(fit.motion), grid), 1e-3);
}

TEST_F(VolumeAlignment, RefusesWhatShowsNoHead) {
  const VolumeAligner with = aligner(phantom->shiftVoxels);
  const auto reason = [&](const Volume<float>& volume) {
    const RealignedVolume found = judgedFit(with.align(volume, scratch), grid);
    EXPECT_EQ(found.outcome, RealignedVolume::Outcome::refused);
    EXPECT_EQ(found.motion, glm::dmat4(1.0));
    return found.reason;
  };
  EXPECT_EQ(reason(Volume<float>(grid.dims, 0.0F)), "it does not resemble the reference");
  EXPECT_EQ(reason(Volume<float>(grid.dims, 700.0F)), "it does not resemble the reference");
  EXPECT_EQ(reason(addRicianNoise(Volume<float>(grid.dims, 0.0F), 300, 5, 7)),
            "it does not resemble the reference");
  VolumeFit far;
  far.converged = true;
  far.correlation = far.covered = 1;
  far.motion[3][0] = 41;
  EXPECT_EQ(judgedFit(far, grid).reason,
            "what was found would displace the head by 41 mm and turn it by 0 degrees");
  far.motion[3][0] = 10;
  far.standardErrorMm = 2;
  EXPECT_EQ(judgedFit(far, grid).reason,
            "parts of the head tell different motions, by more than 1 mm");
  far.covered = 0.2;
  EXPECT_EQ(judgedFit(far, grid).reason, "only 20 % of the head would lie in it");
  far.converged = false;
  EXPECT_EQ(judgedFit(far, grid).reason, "its search comes to no end");
}

TEST_F(VolumeAlignment, WhatCouldBeChanceIsToldFromAHeadThatKeptStill) {
  using Outcome = RealignedVolume::Outcome;
  VolumeFit fit;
  fit.converged = true;
  fit.correlation = fit.covered = 1;
  fit.standardErrorMm = 0.3;
  const auto outcomeOf = [&](double mm) {
    fit.motion[3][0] = mm;
    return judgedFit(fit, grid).outcome;
  };
  EXPECT_EQ(outcomeOf(0.4), Outcome::notMoved);
  EXPECT_EQ(outcomeOf(0.6), Outcome::uncertain);
  EXPECT_EQ(outcomeOf(1.0), Outcome::moved);
  outcomeOf(0.6);
  EXPECT_EQ(judgedFit(fit, grid).motion, glm::dmat4(1.0));
}

TEST_F(VolumeAlignment, VolumesThatAreMuchLessLikeTheReferenceAreTold) {
  using Outcome = RealignedVolume::Outcome;
  Realignment found;
  found.reference = 2;
  const double correlations[] = {0.99, 0.96, 1, 0.991, 0.96, 0.992, 0.96, 0.97, 0.989, 0.991};
  for (int t = 0; t < 10; ++t) {
    RealignedVolume one;
    one.volume = t;
    one.outcome = t % 2 == 0 ? Outcome::notMoved : Outcome::moved;
    one.correlation = correlations[t];
    found.volumes.push_back(one);
  }
  // What lacks in the middle one is 0.01.
  EXPECT_EQ(unlikeVolumes(found), (std::vector<int>{}));
  for (const int t : {1, 4, 6}) found.volumes[static_cast<std::size_t>(t)].correlation = 0.95;
  EXPECT_EQ(unlikeVolumes(found), (std::vector<int>{1, 4, 6}));
  found.volumes[4].outcome = Outcome::refused;
  found.volumes[6].outcome = Outcome::uncertain;
  EXPECT_EQ(unlikeVolumes(found), std::vector<int>{1});
  // Of a few that hardly differ from one another the last may do so by many times.
  for (RealignedVolume& one : found.volumes) one.correlation = 0.9999;
  found.volumes[1].correlation = 0.991;
  EXPECT_EQ(unlikeVolumes(found), std::vector<int>{});
}

TEST_F(VolumeAlignment, NeedsAHeadToCompare) {
  const Volume<float> empty(grid.dims, 0.0F);
  EXPECT_FALSE(VolumeAligner(empty, {grid, phantom->shiftVoxels, 1}, "nothing").canCompare());
  EXPECT_TRUE(aligner(phantom->shiftVoxels).canCompare());
}

}  // namespace mirel

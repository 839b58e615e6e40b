#include "motion/acrosscontrasts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/matrix.hpp>
#include <random>

#include "motion/credible.h"
#include "numerics/fft/fftw.h"
#include "phantom/gridheader.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

PhantomOptions movedHead() {
  bindEngine();
  PhantomOptions options;
  options.size = {48, 56, 32};
  options.voxelMm = glm::dvec3(4.0);
  options.readoutSeconds = 0.04;
  options.maxShiftVoxels = 3;
  options.volumeMotion = {{}, {{-2, 2, 2}, {2, -2, 3}}};
  options.volumes = 2;
  options.seriesEchoSeconds = 0.03;  // another contrast than the spin echoes of the pair
  return options;
}

Grid gridOfHead(const PhantomOptions& options) {
  return gridOf(headerOn({options.size, options.voxelMm}, nifti::DataType::float32, 1, 2, ""));
}

}  // namespace

TEST(AcrossContrasts, FindTheMotionFromOneThatIsAboutRight) {
  const PhantomOptions options = movedHead();
  const Phantom phantom = makePhantom(options);
  const Grid grid = gridOfHead(options);
  const AcrossContrasts aligner(phantom.ap, {grid, phantom.shiftVoxels, 1}, "head");
  glm::dmat4 truth(options.volumeMotion[1].rotation());
  truth[3] = glm::dvec4(options.volumeMotion[1].translationMm, 1.0);
  const Volume<float> moved = phantom.seriesVolume(1);
  const glm::dmat4 near = glm::translate(glm::dmat4(1.0), glm::dvec3(-1, 1, 1));
  for (const glm::dmat4& start : {glm::dmat4(1.0), near}) {
    const auto found = aligner.align(moved, start);
    ASSERT_TRUE(found);
    EXPECT_LT(displacementMm(*found * glm::inverse(truth), grid), 0.3);
  }
  // From the right motion on nothing changes.
  EXPECT_LT(displacementMm(*aligner.align(moved, truth) * glm::inverse(truth), grid), 1e-9);
  EXPECT_EQ(*aligner.align(phantom.seriesVolume(0), glm::dmat4(1.0)), glm::dmat4(1.0));
}

// Noise has a best place, too, and parts of it tell about the same one.
TEST(AcrossContrasts, TakeNoMotionOfNoise) {
  const PhantomOptions options = movedHead();
  const Phantom phantom = makePhantom(options);
  const AcrossContrasts aligner(phantom.ap, {gridOfHead(options), phantom.shiftVoxels, 1}, "head");
  std::mt19937 generator(3);
  std::normal_distribution<float> normal(0.0F, 60.0F);
  const Volume<float> moved = phantom.seriesVolume(1);
  for (const float signal : {0.0F, 0.0F, 0.0F, 0.0F, 0.05F, 0.05F, 0.05F, 0.05F}) {
    Volume<float> noise(options.size);
    for (int n = 0; n < noise.size(); ++n)
      noise.data()[n] = std::hypot(normal(generator) + signal * moved.data()[n], normal(generator));
    EXPECT_FALSE(aligner.align(noise, glm::dmat4(1.0))) << signal;
  }
}

}  // namespace mirel

#include "field/rigidalignment.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/error.h"
#include "field/alignmentmeasure.h"
#include "field/seriesfiles.h"
#include "numerics/fft/fftw.h"
#include "numerics/splitmix.h"

namespace mirel {

using namespace seriesfiles;

namespace {

const Grid grid{{44, 50, 30}, affineOf({3, 3, 4}, 0, {-66, -75, -58})};
const Grid otherGrid{{52, 56, 40}, affineOf({2.7, 2.7, 3.2}, 9, {-66, -70, -60})};
const glm::dvec3 middle(-1.5, -1.5, 0);  // of `grid`

/// A head with structure inside; `inverted` turns the inner values round.
double head(glm::dvec3 mm, bool inverted) {
  const double r = glm::length(mm / glm::dvec3(50, 58, 44));
  if (r > 1) return 5;
  const double inner = 0.5 + 0.25 * std::sin(0.2 * mm.x) * std::sin(0.17 * mm.y + 0.1 * mm.z) +
                       0.25 * std::cos(0.13 * mm.z + 0.004 * mm.x * mm.y / 3);
  return inverted ? 900 - 500 * inner : 300 + 600 * inner;
}

PlacedImage reference() {
  return {sampled(grid, [](glm::dvec3 mm) { return head(mm, false); }), grid.affine, "reference"};
}

/// After a motion about `middle`, in the other contrast and on the other grid.
PlacedImage moved(const RigidMotion& motion) {
  const auto at = [&](glm::dvec3 mm) { return head(motion.before(mm - middle) + middle, true); };
  return {sampled(otherGrid, at), otherGrid.affine, "moved"};
}

class Alignment : public testing::Test {
 protected:
  static void SetUpTestSuite() { bindEngine(); }
};

}  // namespace

TEST_F(Alignment, FindsMotionsAcrossContrastsAndGrids) {
  const RigidAligner aligner(reference());
  EXPECT_EQ(aligner.centreMm(), middle);
  for (const RigidMotion& motion :
       {RigidMotion{}, RigidMotion{{0.6, -0.3, 0.4}, {0.5, 0.8, -0.4}},
        RigidMotion{{4, -3, 2}, {-3, 4, 5}}, RigidMotion{{-8, 8, 8}, {8, -8, -8}}}) {
    const AlignmentFit fit = aligner.align(moved(motion), {}, AlignmentRange::wide);
    EXPECT_LT(aligner.distanceMm(fit.motion, motion), 0.2) << motion.translationMm.x;
    for (int axis = 0; axis < 3; ++axis) {
      EXPECT_NEAR(fit.motion.translationMm[axis], motion.translationMm[axis], 0.2);
      EXPECT_NEAR(fit.motion.rotationDegrees[axis], motion.rotationDegrees[axis], 0.2);
    }
    EXPECT_GE(fit.nmi, fit.nmiUnmoved - 1e-4);
    EXPECT_GT(fit.covered, 0.95);
  }
}

TEST_F(Alignment, HangsNeitherOnTheScaleOfIntensitiesNorOnTheCall) {
  const RigidAligner aligner(reference());
  const RigidMotion motion{{2, 1, -2}, {1, -2, 2}};
  PlacedImage image = moved(motion);
  const AlignmentFit once = aligner.align(image, {}, AlignmentRange::wide);
  EXPECT_EQ(RigidAligner(reference()).align(image, {}, AlignmentRange::wide).motion, once.motion);
  image.values *= 0.125F;
  EXPECT_LT(aligner.distanceMm(aligner.align(image, {}, AlignmentRange::wide).motion, once.motion),
            0.02);
}

TEST_F(Alignment, BearsValuesAtTheEndOfFloats) {
  const RigidAligner aligner(reference());
  const RigidMotion motion{{2, 1, -2}, {1, -2, 2}};
  PlacedImage image = moved(motion);
  image.values *= 3e35F;
  image.values.at(3, 4, 5) = std::numeric_limits<float>::infinity();
  image.values.at(4, 4, 5) = std::numeric_limits<float>::quiet_NaN();
  const AlignmentFit fit = aligner.align(image, {}, AlignmentRange::wide);
  EXPECT_LT(aligner.distanceMm(fit.motion, motion), 0.2);
}

TEST_F(Alignment, FollowsTheHeader) {
  const RigidAligner aligner(reference());
  PlacedImage image = moved({});
  image.affine[3] += glm::dvec4(1.7, -2.2, 3.1, 0);
  const AlignmentFit fit = aligner.align(image, {}, AlignmentRange::wide);
  EXPECT_LT(aligner.distanceMm(fit.motion, {{1.7, -2.2, 3.1}, {}}), 0.2);
}

TEST_F(Alignment, IsLessSureWhereThereIsNoise) {
  const RigidAligner aligner(reference());
  PlacedImage image = moved({});
  const double clear = aligner.standardErrorMm(image, {});
  std::uint64_t n = 0;
  image.values = sampled(otherGrid, [&](glm::dvec3 mm) {
    const double noise = static_cast<double>(splitMix64(++n) >> 11) * 0x1p-53 - 0.5;
    return head(mm, true) + 2500 * noise;
  });
  const double noisy = aligner.standardErrorMm(image, {});
  EXPECT_GT(clear, 0);
  EXPECT_LT(clear, 0.1);
  EXPECT_GT(noisy, 3 * clear);
}

TEST_F(Alignment, MeasuresTheSamplesThatLieInTheImage) {
  AlignmentLevel level{.sigmaMm = 1, .stepMm = 1, .toleranceMm = 0.1, .wanted = 500};
  const PlacedImage image = reference();
  std::vector<int> voxels;
  for (int n = 0; n < image.values.size(); n += 7) voxels.push_back(n);
  sampleReference(image, voxels, level);
  ASSERT_EQ(level.samples.size(), 500U);
  AlignmentMeasure measure(level, middleMm(image), image, {});
  // The plain definition: every sample against itself, shared among the bins around it.
  JointHistogram joint(ValueBins::count);
  for (const AlignmentSample& sample : level.samples) joint.addShared(sample.bin, sample.bin);
  EXPECT_NEAR(measure.at({}), joint.normalisedMutualInformation(), 1e-5);
  EXPECT_GT(measure.covered({}), 0.9);
  EXPECT_LT(measure.covered({{66, 0, 0}, {}}), 0.6);
  EXPECT_EQ(measure.covered({{500, 0, 0}, {}}), 0.0);
  EXPECT_LT(measure.at({{0, 6, 0}, {}}), measure.at({}) - 0.05);
}

TEST_F(Alignment, RefusesImagesWithoutAPlace) {
  PlacedImage image = reference();
  image.affine[1] = image.affine[0];
  EXPECT_THROW(RigidAligner{image}, Error);
  EXPECT_THROW(RigidAligner(reference()).align(image, {}, AlignmentRange::wide), Error);
}

}  // namespace mirel

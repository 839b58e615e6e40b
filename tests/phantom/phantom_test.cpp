#include "phantom/phantom.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

#include "vdm/vdm.h"

namespace mirel {

namespace {

PhantomOptions smallOptions() {
  PhantomOptions options;
  options.size = {24, 28, 14};
  options.voxelMm = glm::dvec3(9.0, 9.0, 10.0);
  options.maxShiftVoxels = 1.5;
  options.volumes = 3;
  return options;
}

TEST(Phantom, IsTheSameForEqualOptions) {
  const Phantom a = makePhantom(smallOptions()), b = makePhantom(smallOptions());
  EXPECT_TRUE(a.truth == b.truth);
  EXPECT_TRUE(a.ap == b.ap);
  EXPECT_TRUE(a.pa == b.pa);
  EXPECT_TRUE(a.shiftVoxels == b.shiftVoxels);
  EXPECT_TRUE(a.fieldHz == b.fieldHz);
  EXPECT_TRUE(a.brainMask == b.brainMask);
  for (int t = 2; t >= 0; --t) EXPECT_TRUE(a.seriesVolume(t) == b.seriesVolume(t)) << t;
}

TEST(Phantom, DiffersWithTheSeed) {
  PhantomOptions options = smallOptions();
  const Phantom a = makePhantom(options);
  options.seed = 2;
  const Phantom b = makePhantom(options);
  EXPECT_FALSE(a.truth == b.truth);
  EXPECT_FALSE(a.ap == b.ap);
  EXPECT_FALSE(a.seriesVolume(0) == b.seriesVolume(0));
}

// Where the head's density is known the truth relation is the definition of the images.
TEST(Phantom, ShiftIsMinusFieldTimesReadoutForTheImageAgainstTheAxis) {
  const Phantom phantom = makePhantom(smallOptions());
  for (int i = 0; i < phantom.shiftVoxels.size(); ++i)
    EXPECT_FLOAT_EQ(phantom.shiftVoxels.data()[i], -0.05F * phantom.fieldHz.data()[i]);
  // "j-": signal at y lies at y - f T in the AP image, so AP(y - f T) (1 - d(f T)/dy) is true.
  const HeadObject head =
      sampleHead({phantom.options.size, phantom.options.voxelMm}, phantom.options.seed);
  EXPECT_TRUE(phantom.apSignal == distort(head.density, phantom.fieldHz * -0.05F,
                                          PhaseEncodingAxis::y, HeadObject::cellsPerVoxel));
  EXPECT_TRUE(phantom.paSignal == distort(head.density, -phantom.shiftVoxels, PhaseEncodingAxis::y,
                                          HeadObject::cellsPerVoxel));
}

TEST(Phantom, ShiftGrowsWithTheReadoutAndTheFieldStays) {
  PhantomOptions options = smallOptions();
  options.maxShiftVoxels.reset();
  options.readoutSeconds = 0.01;
  const Phantom shorter = makePhantom(options);
  options.readoutSeconds = 0.012;
  const Phantom longer = makePhantom(options);
  float largest = 0.0F;
  for (int i = 0; i < shorter.fieldHz.size(); ++i) {
    EXPECT_NEAR(longer.fieldHz.data()[i], shorter.fieldHz.data()[i], 1e-2F);
    EXPECT_NEAR(longer.shiftVoxels.data()[i], 1.2F * shorter.shiftVoxels.data()[i], 1e-4F);
    if (shorter.headMask.data()[i])
      largest = std::max(largest, std::abs(shorter.fieldHz.data()[i]));
  }
  EXPECT_NEAR(largest, 120.0F, 0.1F);
}

// The engine's own resampling with the true map and its Jacobian gives the undistorted image.
// Full resolution in plane, since what is lost is what the sampling does not resolve.
TEST(Phantom, TrueMapCorrectsBothImages) {
  PhantomOptions options;
  options.size = {90, 104, 6};
  options.voxelMm = {2.4, 2.4, 24.0};
  options.noise = 0.0;
  options.volumes = 0;
  const Phantom phantom = makePhantom(options);
  EXPECT_TRUE(phantom.ap == phantom.apSignal);
  const Volume<float> slope = shiftDerivative(phantom.shiftVoxels, options.axis);
  const auto errorOf = [&](const Volume<float>& image, float jacobianSign) {
    double error = 0.0, power = 0.0;
    for (int i = 0; i < image.size(); ++i) {
      if (!phantom.brainMask.data()[i]) continue;
      const double corrected = image.data()[i] * (1.0F + jacobianSign * slope.data()[i]);
      error += std::pow(corrected - phantom.truth.data()[i], 2);
      power += std::pow(phantom.truth.data()[i], 2);
    }
    return std::sqrt(error / power);
  };
  Volume<float> ap(options.size), pa(options.size);
  applyVdmYSpline(ap, phantom.ap, phantom.shiftVoxels, /*reverse=*/false);
  applyVdmYSpline(pa, phantom.pa, phantom.shiftVoxels, /*reverse=*/true);
  EXPECT_GT(errorOf(phantom.ap, 0.0F), 0.06);
  EXPECT_LT(errorOf(ap, 1.0F), 0.007);
  EXPECT_LT(errorOf(pa, -1.0F), 0.007);
  // The sign matters: the map the wrong way round makes it worse.
  applyVdmYSpline(ap, phantom.ap, phantom.shiftVoxels, /*reverse=*/true);
  EXPECT_GT(errorOf(ap, -1.0F), errorOf(phantom.ap, 0.0F));
}

TEST(Phantom, DistortionConservesTheSignalOfEachColumn) {
  for (const PhaseEncodingAxis axis : {PhaseEncodingAxis::x, PhaseEncodingAxis::y}) {
    PhantomOptions options = smallOptions();
    options.axis = axis;
    const Phantom p = makePhantom(options);
    const bool alongY = axis == PhaseEncodingAxis::y;
    const int across = alongY ? options.size.x : options.size.y;
    const int along = alongY ? options.size.y : options.size.x;
    for (int z = 0; z < options.size.z; ++z)
      for (int a = 0; a < across; ++a) {
        double truth = 0.0, ap = 0.0, pa = 0.0;
        for (int i = 0; i < along; ++i) {
          const glm::ivec3 v = alongY ? glm::ivec3(a, i, z) : glm::ivec3(i, a, z);
          truth += p.truth[v];
          ap += p.apSignal[v];
          pa += p.paSignal[v];
        }
        EXPECT_NEAR(ap, truth, 1e-3 * truth + 0.1) << a << " " << z;
        EXPECT_NEAR(pa, truth, 1e-3 * truth + 0.1) << a << " " << z;
      }
  }
}

TEST(Phantom, DoesNotFoldUnlessAsked) {
  PhantomOptions options = smallOptions();
  options.maxShiftVoxels = 12.0;
  const auto steepest = [](const Phantom& p) {
    float step = 0.0F;
    for (int z = 0; z < p.truth.nz(); ++z)
      for (int y = 1; y < p.truth.ny(); ++y)
        for (int x = 0; x < p.truth.nx(); ++x)
          step =
              std::max(step, std::abs(p.shiftVoxels.at(x, y, z) - p.shiftVoxels.at(x, y - 1, z)));
    return step;
  };
  EXPECT_LT(steepest(makePhantom(options)), 0.81F);
  EXPECT_EQ(nrOfErrorsInVDM(makePhantom(options).shiftVoxels), 0);
  options.allowFolds = true;
  EXPECT_GT(steepest(makePhantom(options)), 1.0F);
}

TEST(Phantom, AlongXHasTheSameHeadAndAShiftAlongX) {
  PhantomOptions options = smallOptions();
  const Phantom alongY = makePhantom(options);
  options.axis = PhaseEncodingAxis::x;
  const Phantom alongX = makePhantom(options);
  EXPECT_TRUE(alongX.truth == alongY.truth);
  EXPECT_TRUE(alongX.brainMask == alongY.brainMask);
  const HeadObject head = sampleHead({options.size, options.voxelMm}, options.seed);
  // What is distorted along x is the transpose of the transposed head distorted along y.
  const Volume<float> transposed =
      distort(head.density.transposeXY(), alongX.shiftVoxels.transposeXY(), PhaseEncodingAxis::y,
              HeadObject::cellsPerVoxel);
  EXPECT_TRUE(alongX.apSignal == transposed.transposeXY());
}

TEST(Phantom, WorksOnOddTinyAndFlatGrids) {
  for (const glm::ivec3 size : {glm::ivec3(8, 8, 4), glm::ivec3(9, 15, 5), glm::ivec3(31, 10, 7),
                                glm::ivec3(1, 1, 1), glm::ivec3(2, 1, 3), glm::ivec3(16, 16, 1)})
    for (const PhaseEncodingAxis axis : {PhaseEncodingAxis::x, PhaseEncodingAxis::y}) {
      PhantomOptions options;
      options.size = size;
      options.voxelMm = {3.0, 4.0, 5.0};
      options.axis = axis;
      options.volumes = 1;
      const Phantom p = makePhantom(options);
      ASSERT_EQ(p.ap.dimensions(), size);
      ASSERT_EQ(p.seriesVolume(0).dimensions(), size);
      for (int i = 0; i < p.ap.size(); ++i) {
        EXPECT_TRUE(std::isfinite(p.ap.data()[i]) && p.ap.data()[i] >= 0.0F);
        EXPECT_TRUE(std::isfinite(p.shiftVoxels.data()[i]));
      }
    }
}

TEST(Phantom, BrainFitsSixteenBitsAndLooksLikeAnImage) {
  const Phantom p = makePhantom(smallOptions());
  const double brain = meanInMask(p.truth, p.brainMask);
  EXPECT_GT(brain, 700.0);
  EXPECT_LT(brain, 1200.0);
  EXPECT_NEAR(p.noiseSigma, 0.03 * brain, 1e-9);
  EXPECT_LT(p.ap.max(), 32767.0F);
}

TEST(Phantom, NoiseIsRicianOfTheLevelAskedFor) {
  constexpr double sigma = 20.0;
  const Volume<float> air = addRicianNoise(Volume<float>(40, 40, 40, 0.0F), sigma, 3, 1);
  const Volume<float> tissue = addRicianNoise(Volume<float>(40, 40, 40, 1000.0F), sigma, 3, 2);
  double airSum = 0.0, airSquares = 0.0, sum = 0.0, squares = 0.0;
  const int n = air.size();
  for (int i = 0; i < n; ++i) {
    airSum += air.data()[i];
    airSquares += air.data()[i] * air.data()[i];
    sum += tissue.data()[i] - 1000.0;
    squares += std::pow(tissue.data()[i] - 1000.0, 2);
  }
  // Rayleigh in air; nearly normal, and higher by sigma^2 / (2 signal), in tissue.
  EXPECT_NEAR(airSum / n, sigma * std::sqrt(std::numbers::pi / 2), 0.3);
  EXPECT_NEAR(airSquares / n, 2 * sigma * sigma, 16.0);
  EXPECT_NEAR(sum / n, sigma * sigma / 2000.0, 5 * sigma / std::sqrt(n));
  EXPECT_NEAR(std::sqrt(squares / n), sigma, 5 * sigma / std::sqrt(2.0 * n));
}

TEST(Phantom, NoiseOfTheImagesIsIndependent) {
  const Phantom p = makePhantom(smallOptions());
  double product = 0.0, squares = 0.0;
  for (int i = 0; i < p.ap.size(); ++i) {
    const double a = p.ap.data()[i] - p.apSignal.data()[i];
    const double b = p.pa.data()[i] - p.paSignal.data()[i];
    if (p.apSignal.data()[i] < 300.0F || p.paSignal.data()[i] < 300.0F) continue;
    product += a * b;
    squares += 0.5 * (a * a + b * b);
  }
  EXPECT_LT(std::abs(product / squares), 0.1);
}

TEST(Phantom, SeriesSwingsAndDriftsMildly) {
  PhantomOptions options = smallOptions();
  options.volumes = 8;
  options.noise = 0.0;
  const Phantom p = makePhantom(options);
  const Volume<float> rest = p.seriesVolume(0), active = p.seriesVolume(4);
  EXPECT_TRUE(rest == p.apSignal);
  double largest = 0.0, least = 1.0;
  for (int i = 0; i < rest.size(); ++i) {
    if (rest.data()[i] < 300.0F) continue;
    const double change = active.data()[i] / rest.data()[i] - 1.0;
    largest = std::max(largest, change);
    least = std::min(least, change);
  }
  EXPECT_NEAR(least, 0.004, 1e-4);  // drift alone: 0.1 % per volume
  EXPECT_GT(largest, 0.015);
  EXPECT_LT(largest, 0.026);
  EXPECT_THROW(p.seriesVolume(8), std::out_of_range);
  EXPECT_THROW(p.seriesVolume(-1), std::out_of_range);
}

TEST(Phantom, MotionConcernsTheSecondImageOnly) {
  PhantomOptions options = smallOptions();
  const Phantom still = makePhantom(options);
  EXPECT_EQ(still.paTruth.size(), 0);
  options.paMotion.translationMm = {0.0, 9.0, 0.0};
  const Phantom moved = makePhantom(options);
  EXPECT_TRUE(moved.ap == still.ap);
  EXPECT_TRUE(moved.truth == still.truth);
  for (int z = 0; z < 14; ++z)
    for (int y = 5; y < 24; ++y)
      for (int x = 0; x < 24; ++x) {
        EXPECT_NEAR(moved.paTruth.at(x, y, z), still.truth.at(x, y - 1, z), 0.02F);
        EXPECT_NEAR(moved.paShiftVoxels.at(x, y, z), still.shiftVoxels.at(x, y - 1, z), 1e-4F);
        EXPECT_NEAR(moved.paSignal.at(x, y, z), still.paSignal.at(x, y - 1, z), 0.05F);
      }
}

TEST(Phantom, RefusesOptionsThatMakeNoSense) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto refused = [](auto change) {
    PhantomOptions options = smallOptions();
    change(options);
    EXPECT_THROW(makePhantom(options), std::invalid_argument);
  };
  refused([](PhantomOptions& o) { o.size.y = 0; });
  refused([](PhantomOptions& o) { o.voxelMm.z = -1.0; });
  refused([](PhantomOptions& o) { o.readoutSeconds = 0.0; });
  refused([&](PhantomOptions& o) { o.readoutSeconds = nan; });
  refused([](PhantomOptions& o) { o.noise = -0.1; });
  refused([&](PhantomOptions& o) { o.noise = nan; });
  refused([](PhantomOptions& o) { o.volumes = -1; });
  refused([](PhantomOptions& o) { o.maxShiftVoxels = -1.0; });
  refused([&](PhantomOptions& o) { o.paMotion.rotationDegrees.x = nan; });
}

}  // namespace

}  // namespace mirel

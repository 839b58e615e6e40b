#include "phantom/distort.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "phantom/random.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

Volume<float> randomVolume(glm::ivec3 size, std::uint64_t seed, float scale) {
  const RandomStream random(seed, 99);
  Volume<float> volume(size);
  for (int i = 0; i < volume.size(); ++i)
    volume.data()[i] = scale * static_cast<float>(random.uniform(static_cast<std::uint64_t>(i)));
  return volume;
}

double sumOfColumn(const Volume<float>& volume, int x, int z) {
  double sum = 0.0;
  for (int y = 0; y < volume.ny(); ++y) sum += volume.at(x, y, z);
  return sum;
}

// Whole cells stay whole voxels: one cell per voxel makes expectations exact.
TEST(Distort, WithoutShiftAveragesTheCellsOfAVoxel) {
  const Volume<float> density = randomVolume({6, 15, 2}, 1, 1000.0F);
  const Volume<float> image =
      distort(density, Volume<float>(2, 5, 2, 0.0F), PhaseEncodingAxis::y, 3);
  for (int z = 0; z < 2; ++z)
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 2; ++x) {
        double mean = 0.0;
        for (int j = 0; j < 3; ++j)
          for (int i = 0; i < 3; ++i) mean += density.at(3 * x + i, 3 * y + j, z) / 9.0;
        EXPECT_NEAR(image.at(x, y, z), mean, 1e-3) << x << " " << y << " " << z;
      }
}

TEST(Distort, MovesSignalToLargerYForAPositiveShift) {
  Volume<float> density(1, 8, 1, 0.0F);
  density.at(0, 3, 0) = 100.0F;
  const Volume<float> whole =
      distort(density, Volume<float>(1, 8, 1, 2.0F), PhaseEncodingAxis::y, 1);
  const Volume<float> quarter =
      distort(density, Volume<float>(1, 8, 1, 2.25F), PhaseEncodingAxis::y, 1);
  for (int y = 0; y < 8; ++y) {
    EXPECT_FLOAT_EQ(whole.at(0, y, 0), y == 5 ? 100.0F : 0.0F) << y;
    EXPECT_FLOAT_EQ(quarter.at(0, y, 0), y == 5 ? 75.0F : y == 6 ? 25.0F : 0.0F) << y;
  }
}

TEST(Distort, ThinsStretchedAndPilesUpCompressedSignal) {
  for (const float slope : {0.5F, -0.5F, 0.125F}) {
    Volume<float> shift(1, 32, 1);
    for (int y = 0; y < 32; ++y) shift.at(0, y, 0) = slope * (static_cast<float>(y) - 15.5F);
    const Volume<float> image =
        distort(Volume<float>(3, 96, 1, 90.0F), shift, PhaseEncodingAxis::y, 3);
    for (int y = 12; y < 20; ++y)
      EXPECT_NEAR(image.at(0, y, 0), 90.0F / (1.0F + slope), 1e-3F) << slope << " " << y;
  }
}

TEST(Distort, ConservesTheSignalOfEachColumn) {
  for (const glm::ivec3 size : {glm::ivec3(3, 24, 2), glm::ivec3(1, 9, 1), glm::ivec3(5, 17, 3)}) {
    Volume<float> density(3 * size.x, 3 * size.y, size.z, 0.0F);
    const Volume<float> values = randomVolume(density.dimensions(), 3, 1000.0F);
    for (int z = 0; z < size.z; ++z)
      for (int y = size.y; y < 2 * size.y; ++y)  // the middle third, which stays on the grid
        for (int x = 0; x < 3 * size.x; ++x) density.at(x, y, z) = values.at(x, y, z);
    // Steep enough for folds: what is where changes, but not how much there is.
    const Volume<float> shift = randomVolume(size, 4, static_cast<float>(size.y) / 3.5F);
    const Volume<float> still =
        distort(density, Volume<float>(size, 0.0F), PhaseEncodingAxis::y, 3);
    const Volume<float> image = distort(density, shift, PhaseEncodingAxis::y, 3);
    for (int z = 0; z < size.z; ++z)
      for (int x = 0; x < size.x; ++x)
        EXPECT_NEAR(sumOfColumn(image, x, z) / sumOfColumn(still, x, z), 1.0, 1e-6);
  }
}

TEST(Distort, LosesWhatLeavesTheGridAndWhatGoesNowhere) {
  Volume<float> density(1, 4, 1, 10.0F);
  const Volume<float> half =
      distort(density, Volume<float>(1, 4, 1, 1.5F), PhaseEncodingAxis::y, 1);
  EXPECT_FLOAT_EQ(half.at(0, 0, 0), 0.0F);
  EXPECT_FLOAT_EQ(half.at(0, 1, 0), 5.0F);
  EXPECT_FLOAT_EQ(half.at(0, 2, 0), 10.0F);
  EXPECT_FLOAT_EQ(half.at(0, 3, 0), 10.0F);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const float odd : {nan, 1e30F, -1e30F, std::numeric_limits<float>::infinity()}) {
    const Volume<float> gone =
        distort(density, Volume<float>(1, 4, 1, odd), PhaseEncodingAxis::y, 1);
    for (int y = 0; y < 4; ++y) EXPECT_EQ(gone.at(0, y, 0), 0.0F) << odd;
  }
}

TEST(Distort, AlongXIsTheTransposeOfAlongY) {
  const Volume<float> density = randomVolume({9, 15, 2}, 5, 1000.0F);
  const Volume<float> shift = randomVolume({3, 5, 2}, 6, 1.5F);
  const Volume<float> along = distort(density, shift, PhaseEncodingAxis::x, 3);
  const Volume<float> transposed =
      distort(density.transposeXY(), shift.transposeXY(), PhaseEncodingAxis::y, 3);
  EXPECT_TRUE(along == transposed.transposeXY());
}

TEST(Distort, RefusesShapesThatDoNotFit) {
  const Volume<float> density(9, 15, 2, 0.0F);
  for (const glm::ivec3 size : {glm::ivec3(3, 5, 1), glm::ivec3(5, 3, 2), glm::ivec3(9, 15, 2)})
    EXPECT_THROW(distort(density, Volume<float>(size, 0.0F), PhaseEncodingAxis::y, 3),
                 std::invalid_argument);
}

// With the sign of a displacement map: forward for the image that was pushed by +b, reverse for
// the one pushed by -b, each with its Jacobian, gives the undistorted image back.
TEST(Distort, IsUndoneByTheShiftAsDisplacementMap) {
  constexpr int ny = 48, cells = 3;
  Volume<float> density(cells, ny * cells, 1), shift(1, ny, 1), truth(1, ny, 1);
  const auto bump = [](double y, double at, double width) {
    return std::exp(-0.5 * (y - at) * (y - at) / (width * width));
  };
  for (int k = 0; k < ny * cells; ++k) {
    const double y = (k + 0.5) / cells - 0.5;
    for (int c = 0; c < cells; ++c)
      density.at(c, k, 0) = static_cast<float>(1000 * bump(y, 20, 3) + 600 * bump(y, 30, 2.5));
  }
  for (int y = 0; y < ny; ++y)
    shift.at(0, y, 0) = static_cast<float>(3.0 * std::sin(y * 0.07) + 1.0);
  truth = distort(density, Volume<float>(1, ny, 1, 0.0F), PhaseEncodingAxis::y, cells);
  const Volume<float> slope = shiftDerivative(shift, PhaseEncodingAxis::y);
  for (const bool reverse : {false, true}) {
    const float sign = reverse ? -1.0F : 1.0F;
    const Volume<float> image = distort(density, shift * sign, PhaseEncodingAxis::y, cells);
    Volume<float> corrected(1, ny, 1);
    applyVdmYSpline(corrected, image, shift, reverse);
    for (int y = 4; y < ny - 4; ++y)
      EXPECT_NEAR(corrected.at(0, y, 0) * (1.0F + sign * slope.at(0, y, 0)), truth.at(0, y, 0),
                  // A voxel of the image is the mean over up to 1 / (1 - 0.21) voxels of the
                  // truth: (1.27^2 - 1) / 24 of the largest curvature, 1000 / 3^2, and the
                  // spline's and the derivative's errors.
                  2.9F + 1.0F)
          << (reverse ? "reverse " : "forward ") << y;
  }
}

TEST(ShiftDerivative, IsExactForARampAndOneSidedAtTheEnds) {
  Volume<float> shift(2, 5, 1);
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 2; ++x)
      shift.at(x, y, 0) = 0.25F * static_cast<float>(y) - 0.5F * static_cast<float>(x);
  const Volume<float> alongY = shiftDerivative(shift, PhaseEncodingAxis::y);
  const Volume<float> alongX = shiftDerivative(shift, PhaseEncodingAxis::x);
  for (int i = 0; i < shift.size(); ++i) {
    EXPECT_FLOAT_EQ(alongY.data()[i], 0.25F);
    EXPECT_FLOAT_EQ(alongX.data()[i], -0.5F);
  }
  EXPECT_EQ(shiftDerivative(Volume<float>(1, 1, 1, 3.0F), PhaseEncodingAxis::y).at(0, 0, 0), 0.0F);
}

}  // namespace

}  // namespace mirel

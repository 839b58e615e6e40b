#include "field/rowresampling.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "field/corrector.h"
#include "field/seriesfiles.h"

namespace mirel {

using namespace seriesfiles;

namespace {

using Kernel = InterpolationKernel;

bool sameBits(const Volume<float>& a, const Volume<float>& b) {
  return a.dimensions() == b.dimensions() &&
         std::memcmp(a.data(), b.data(), sizeof(float) * static_cast<std::size_t>(a.size())) == 0;
}

// The definition read literally.
Volume<float> plainlyResampled(const Volume<float>& image, const Volume<float>& shift,
                               Kernel kernel) {
  return filled(image.dimensions(), [&](int x, int y, int z) {
    const RowTaps taps = rowTaps(kernel, y + static_cast<double>(shift.at(x, y, z)), image.ny());
    double sum = 0;
    for (int k = 0; k < taps.count; ++k)
      sum += taps.weights[static_cast<std::size_t>(k)] *
             static_cast<double>(image.at(x, taps.first + k, z));
    return sum;
  });
}

Volume<float> withNegativeZero(glm::ivec3 dims) {
  Volume<float> image = smoothImage(dims);
  image.at(0, 0, 0) = -0.0F;
  return image;
}

}  // namespace

TEST(RowResampling, IsThePlainOneBitForBit) {
  for (const glm::ivec3 dims : {glm::ivec3(1, 1, 1), {1, 2, 3}, {5, 6, 2}, {3, 7, 1}, {11, 14, 9}})
    for (const float scale : {0.0F, 0.3F, 1.0F, 9.0F}) {
      const Volume<float> image = smoothImage(dims), shift = smoothShift(dims) * scale;
      for (const Kernel kernel : {Kernel::linear, Kernel::lanczos}) {
        Volume<float> result(dims);
        RowResampling(shift, kernel).resample(image, shift, result);
        EXPECT_TRUE(sameBits(result, plainlyResampled(image, shift, kernel)))
            << nameOf(kernel) << " " << dims.y << " " << scale;
      }
    }
}

TEST(RowResampling, RefusesTheSpline) {
  const Volume<float> shift(2, 3, 2, 0.0F);
  EXPECT_THROW(RowResampling(shift, Kernel::cubic), std::logic_error);
}

TEST(CorrectByKernel, AMapOfZerosLeavesEveryBit) {
  const glm::ivec3 dims(7, 9, 5);
  const Volume<float> image = withNegativeZero(dims), zero(dims, 0.0F);
  for (const Kernel kernel : {Kernel::linear, Kernel::lanczos})
    for (int axis = 0; axis < 3; ++axis)
      for (const Modulation modulation : {Modulation::off, Modulation::on})
        EXPECT_TRUE(sameBits(correctVolume(image, zero, axis, modulation, kernel), image));
}

TEST(CorrectByKernel, WholeShiftsMoveRowsBitForBit) {
  const glm::ivec3 dims(4, 9, 3);
  const Volume<float> image = smoothImage(dims);
  for (const Kernel kernel : {Kernel::linear, Kernel::lanczos}) {
    const Volume<float> moved =
        correctVolume(image, Volume<float>(dims, -2.0F), 1, Modulation::on, kernel);
    for (int y = 0; y < dims.y; ++y)
      EXPECT_EQ(moved.at(1, y, 2), y < 2 ? 0.0F : image.at(1, y - 2, 2)) << y;
  }
}

// Half a voxel beyond the border half of its value is left, from one on nothing.
TEST(CorrectByKernel, ValuesFallToZeroWithinOneVoxelBeyondTheBorder) {
  const glm::ivec3 dims(2, 8, 2);
  const Volume<float> image(dims, 100.0F);
  for (const Kernel kernel : {Kernel::linear, Kernel::lanczos}) {
    const Volume<float> up = correctVolume(image, Volume<float>(dims, 1.5F), 1, Modulation::off,
                                           kernel),
                        down = correctVolume(image, Volume<float>(dims, -1.5F), 1, Modulation::off,
                                             kernel);
    const float wanted[] = {100, 100, 100, 100, 100, 100, 50, 0};
    for (int y = 0; y < 8; ++y) {
      EXPECT_NEAR(up.at(0, y, 1), wanted[y], 1e-4) << y;
      EXPECT_NEAR(down.at(1, 7 - y, 0), wanted[y], 1e-4) << y;
    }
  }
}

TEST(CorrectByKernel, TheJacobianIsThatOfTheSpline) {
  const glm::ivec3 dims(5, 24, 3);
  const Volume<float> image(dims, 100.0F), shift = smoothShift(dims);
  for (int axis = 0; axis < 3; ++axis)
    for (const Kernel kernel : {Kernel::linear, Kernel::lanczos}) {
      const Volume<float> off = correctVolume(image, shift, axis, Modulation::off, kernel),
                          on = correctVolume(image, shift, axis, Modulation::on, kernel);
      const Volume<float> jacobian =
          exchangedWithY(jacobianAlongY(exchangedWithY(shift, axis)), axis);
      EXPECT_TRUE(sameBits(on, off * jacobian)) << axis;
    }
}

// What each reproduces, far from the borders: straight lines, cubic polynomials, constants.
TEST(CorrectByKernel, ReproducesItsPolynomials) {
  const glm::ivec3 dims(1, 80, 1);
  const auto largestError = [&](Kernel kernel, int degree) {
    const auto polynomial = [=](double y) { return std::pow((y - 40) / 4, degree); };
    const Volume<float> image = filled(dims, [&](int, int y, int) { return polynomial(y); }),
                        shift = filled(dims, [](int, int y, int) { return 0.01 * y - 0.3; }),
                        found = correctVolume(image, shift, 1, Modulation::off, kernel);
    double largest = 0;
    for (int y = 30; y < 50; ++y)
      largest =
          std::max(largest, std::fabs(static_cast<double>(found.at(0, y, 0)) -
                                      polynomial(y + static_cast<double>(shift.at(0, y, 0)))));
    return largest;
  };
  EXPECT_LT(largestError(Kernel::linear, 1), 1e-6);
  EXPECT_GT(largestError(Kernel::linear, 2), 1e-3);
  for (int degree = 0; degree <= 3; ++degree)
    EXPECT_LT(largestError(Kernel::cubic, degree), 2e-5) << degree;
  EXPECT_LT(largestError(Kernel::lanczos, 0), 1e-7);
  EXPECT_LT(largestError(Kernel::lanczos, 1), 0.01);
}

TEST(CorrectByKernel, TheSplineIsWhatIsMeantWithoutAWord) {
  const glm::ivec3 dims(6, 9, 4);
  const Volume<float> image = smoothImage(dims), shift = smoothShift(dims);
  EXPECT_TRUE(sameBits(correctVolume(image, shift, 1, Modulation::on, Kernel::cubic),
                       correctVolume(image, shift, 1, Modulation::on)));
}

}  // namespace mirel

#include "field/corrector.h"

#include <gtest/gtest.h>

#include "field/fieldhz.h"
#include "field/seriesfiles.h"
#include "vdm/vdm.h"

namespace mirel {

using namespace seriesfiles;

namespace {

constexpr glm::ivec3 dims{11, 14, 9};

}  // namespace

TEST(Correct, NoFieldLeavesTheImage) {
  const Volume<float> image = smoothImage(dims);
  const Volume<float> zero(dims, 0.0f);
  for (int axis = 0; axis < 3; ++axis)
    for (const Modulation modulation : {Modulation::off, Modulation::on})
      // Single precision at values below 1200.
      EXPECT_LT(largestDifference(correctVolume(image, zero, axis, modulation), image), 1.3e-4);
}

TEST(Correct, AConstantShiftMovesRowsAgainstItsSign) {
  const Volume<float> image = smoothImage(dims);
  for (int axis = 0; axis < 3; ++axis) {
    const Volume<float> moved =
        correctVolume(image, Volume<float>(dims, 2.0f), axis, Modulation::on);
    glm::ivec3 step(0);
    step[axis] = 2;
    double largest = 0;
    for (int z = 0; z + step.z < dims.z; ++z)
      for (int y = 0; y + step.y < dims.y; ++y)
        for (int x = 0; x + step.x < dims.x; ++x)
          largest = std::max(largest, std::fabs(double(moved.at(x, y, z)) -
                                                double(image[glm::ivec3(x, y, z) + step])));
    EXPECT_LT(largest, 1.3e-4) << "axis " << axis;
  }
}

TEST(Correct, TheEnginesOwnResamplingAlongY) {
  const Volume<float> image = smoothImage(dims), shift = smoothShift(dims);
  EXPECT_TRUE(correctVolume(image, shift, 1, Modulation::off) ==
              applyVdm(shift, image, /*rllr=*/false, /*intensityCorrection=*/false));
  EXPECT_TRUE(correctVolume(image, shift, 0, Modulation::off) ==
              applyVdm(shift.transposeXY(), image, /*rllr=*/true, /*intensityCorrection=*/false));
}

TEST(Correct, AllAxesGiveTheBitsOfTheTransposedImage) {
  const Volume<float> image = smoothImage(dims), shift = smoothShift(dims);
  for (const Modulation modulation : {Modulation::off, Modulation::on})
    for (int axis = 0; axis < 3; ++axis) {
      const Volume<float> direct = correctVolume(image, shift, axis, modulation);
      const Volume<float> transposed =
          correctVolume(exchangedWithY(image, axis), exchangedWithY(shift, axis), 1, modulation);
      EXPECT_TRUE(exchangedWithY(transposed, axis) == direct) << "axis " << axis;
    }
}

TEST(Correct, TheJacobianIsExactOnALineUpToTheBorders) {
  const Volume<float> shift =
      filled(dims, [](int x, int y, int) { return 0.25 * y - 3 + 0.5 * x; });
  const Volume<float> jacobian = jacobianAlongY(shift);
  EXPECT_EQ(jacobian.min(), 1.25f);
  EXPECT_EQ(jacobian.max(), 1.25f);
}

TEST(Correct, TheJacobianIsCentralInsideAndOneSidedAtTheBorders) {
  Volume<float> shift(1, 4, 1, 0.0f);
  for (int y = 0; y < 4; ++y) shift.at(0, y, 0) = std::array{0.0f, 0.5f, 0.25f, 1.0f}[size_t(y)];
  const Volume<float> jacobian = jacobianAlongY(shift);
  EXPECT_EQ(jacobian.at(0, 0, 0), 1.5f);
  EXPECT_EQ(jacobian.at(0, 1, 0), 1.125f);
  EXPECT_EQ(jacobian.at(0, 2, 0), 1.25f);
  EXPECT_EQ(jacobian.at(0, 3, 0), 1.75f);
  EXPECT_EQ(jacobianAlongY(Volume<float>(3, 1, 2, 9.0f)).max(), 1.0f) << "one row";
}

TEST(Correct, WhereTheMapFoldsModulationGivesZero) {
  const Volume<float> shift =
      filled({2, 5, 1}, [](int x, int y, int) { return x == 1 && y == 2 ? 4.0 : 0.0; });
  std::int64_t folded = 0;
  const Volume<float> jacobian = jacobianAlongY(shift, &folded);
  EXPECT_EQ(folded, 1) << "the row behind the peak: 1 - 4/2";
  EXPECT_EQ(jacobian.at(1, 3, 0), 0.0f);
  EXPECT_EQ(jacobian.at(1, 1, 0), 3.0f);
  EXPECT_EQ(jacobian.at(0, 3, 0), 1.0f);
  const Volume<float> image({2, 5, 1}, 100.0f);
  EXPECT_EQ(correctVolume(image, shift, 1, Modulation::on).at(1, 3, 0), 0.0f);
}

TEST(Correct, ModulationKeepsTheSumOfASmoothObject) {
  // A blob that was squeezed and stretched: resampling alone changes its sum, the Jacobian
  // restores it, as sum(I(y + s) * (1 + s')) samples the integral of I.
  const auto blob = [](int x, int y, int z) {
    return 1000 * std::exp(-(std::pow(x - 5, 2) + std::pow(y - 20, 2) + std::pow(z - 3, 2)) / 18.0);
  };
  const Volume<float> image = filled({11, 41, 7}, blob);
  const Volume<float> shift =
      filled({11, 41, 7}, [](int, int y, int) { return 3 * std::sin(0.2 * y); });
  const auto sum = [](const Volume<float>& v) {
    double total = 0;
    for (int n = 0; n < v.size(); ++n) total += static_cast<double>(v.data()[n]);
    return total;
  };
  const double plain = sum(correctVolume(image, shift, 1, Modulation::off)) / sum(image);
  const double modulated = sum(correctVolume(image, shift, 1, Modulation::on)) / sum(image);
  EXPECT_GT(std::fabs(plain - 1), 0.05);
  EXPECT_NEAR(modulated, 1, 0.003);
}

TEST(Correct, ADistortedImageReturns) {
  // The distortion of "j" by a linear field, by hand: true(y) = I(y + s(y)) with s = 0.1 y - 1.
  const auto truth = [](double y) { return 300 + 200 * std::sin(0.35 * y); };
  const Volume<float> image =
      filled({4, 24, 3}, [&](int, int y, int) { return truth((y + 1) / 1.1); });
  const Grid grid{{4, 24, 3}, affineOf({2, 2, 2})};
  const FieldHz field{filled(grid.dims, [](int, int y, int) { return (0.1 * y - 1) / 0.04; }),
                      grid.affine, "f"};
  const Volume<float> right =
      correctVolume(image, shiftVoxels(field, grid, {1, 1}, 0.04), 1, Modulation::off);
  const Volume<float> wrong =
      correctVolume(image, shiftVoxels(field, grid, {1, -1}, 0.04), 1, Modulation::off);
  double offRight = 0, offWrong = 0;
  for (int y = 4; y < 19; ++y) {
    offRight = std::max(offRight, std::fabs(double(right.at(1, y, 1)) - truth(y)));
    offWrong = std::max(offWrong, std::fabs(double(wrong.at(1, y, 1)) - truth(y)));
  }
  EXPECT_LT(offRight, 0.5);
  EXPECT_GT(offWrong, 50);
}

TEST(Correct, OtherDimensionsAreRefused) {
  Volume<float> result;
  Corrector::Scratch scratch;
  const Volume<float> shift(3, 4, 5, 0.0f);
  const Corrector corrector(shift, 0, Modulation::off);
  EXPECT_THROW(corrector.correct(Volume<float>(4, 3, 5, 0.0f), result, scratch), std::logic_error);
}

}  // namespace mirel

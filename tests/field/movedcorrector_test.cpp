#include "field/movedcorrector.h"

#include <gtest/gtest.h>

#include "field/seriesfiles.h"

namespace mirel {

using namespace seriesfiles;

namespace {

constexpr glm::ivec3 dims{11, 11, 9};

Volume<float> corrected(const Volume<float>& image, const Volume<float>& shift, int axis,
                        Modulation modulation, const glm::dmat4& toVolume,
                        InterpolationKernel kernel = InterpolationKernel::cubic) {
  Volume<float> result;
  MovedCorrector::Scratch scratch;
  MovedCorrector(shift, axis, modulation, kernel).correct(image, toVolume, result, scratch);
  return result;
}

glm::dmat4 translation(glm::dvec3 voxels) { return glm::translate(glm::dmat4(1.0), voxels); }

// A quarter of a turn about the middle: (x, y, z) to (10 - y, x, z).
glm::dmat4 quarterTurn() {
  glm::dmat4 m(0.0);
  m[0] = {0, 1, 0, 0};
  m[1] = {-1, 0, 0, 0};
  m[2] = {0, 0, 1, 0};
  m[3] = {10, 0, 0, 1};
  return m;
}

}  // namespace

TEST(MovedCorrector, WithoutMotionTheOtherOnesValues) {
  const Volume<float> image = smoothImage(dims), shift = smoothShift(dims);
  for (int axis = 0; axis < 3; ++axis)
    for (const Modulation modulation : {Modulation::off, Modulation::on})
      EXPECT_LT(largestDifference(corrected(image, shift, axis, modulation, glm::dmat4(1.0)),
                                  correctVolume(image, shift, axis, modulation)),
                5e-4)
          << axis;
}

TEST(MovedCorrector, WithoutMotionWeightedSamplesGiveTheOtherOnesBits) {
  const Volume<float> image = smoothImage(dims), shift = smoothShift(dims);
  for (const InterpolationKernel kernel :
       {InterpolationKernel::linear, InterpolationKernel::lanczos})
    for (int axis = 0; axis < 3; ++axis) {
      EXPECT_TRUE(corrected(image, shift, axis, Modulation::off, glm::dmat4(1.0), kernel) ==
                  correctVolume(image, shift, axis, Modulation::off, kernel))
          << axis;
      EXPECT_LT(
          largestDifference(corrected(image, shift, axis, Modulation::on, glm::dmat4(1.0), kernel),
                            correctVolume(image, shift, axis, Modulation::on, kernel)),
          5e-4)
          << axis;
    }
}

TEST(MovedCorrector, WeightedSamplesTakeMotionAndShiftFromOnePlace) {
  const Volume<float> image = smoothImage(dims), shift(dims, 2.0f);
  for (const InterpolationKernel kernel :
       {InterpolationKernel::linear, InterpolationKernel::lanczos}) {
    const Volume<float> result =
        corrected(image, shift, 1, Modulation::on, translation({3, -1, 2}), kernel);
    for (int z = 0; z + 2 < dims.z; ++z)
      for (int y = 0; y + 1 < dims.y; ++y)
        for (int x = 0; x + 3 < dims.x; ++x)
          ASSERT_EQ(result.at(x, y, z), image.at(x + 3, y + 1, z + 2));
    EXPECT_EQ(result.at(5, 5, dims.z - 2), 0);
  }
}

TEST(MovedCorrector, WeightedSamplesHoldTheBordersValueForHalfAVoxel) {
  const Volume<float> image(dims, 100.0f), none(dims, 0.0f);
  for (const InterpolationKernel kernel :
       {InterpolationKernel::linear, InterpolationKernel::lanczos}) {
    const Volume<float> result =
        corrected(image, none, 1, Modulation::off, translation({0, 0.25, 1.4}), kernel);
    EXPECT_NEAR(result.at(5, 5, dims.z - 2), 100, 1e-4);
    EXPECT_EQ(result.at(5, 5, dims.z - 1), 0);
    // Along the encoded axis they fade.
    EXPECT_NEAR(result.at(5, dims.y - 1, 2), 75, 1e-4);
  }
}

TEST(MovedCorrector, TakesMotionAndShiftFromOnePlace) {
  const Volume<float> image = smoothImage(dims), shift(dims, 2.0f);
  const Volume<float> result = corrected(image, shift, 1, Modulation::on, translation({3, -1, 2}));
  for (int z = 0; z + 2 < dims.z; ++z)
    for (int y = 0; y + 1 < dims.y; ++y)
      for (int x = 0; x + 3 < dims.x; ++x)
        ASSERT_NEAR(result.at(x, y, z), image.at(x + 3, y + 1, z + 2), 2e-4);
}

// The shift changes along x of the result alone, which the head's turn lays along the encoded axis.
TEST(MovedCorrector, TheJacobianFollowsTheEncodedAxis) {
  const Volume<float> image(dims, 100.0f);
  const Volume<float> shift = filled(dims, [](int x, int, int) { return 0.02 * (x - 5); });
  InterpolationKernel kernel = InterpolationKernel::cubic;
  const auto middle = [&](int axis, const glm::dmat4& m) {
    const Volume<float> on = corrected(image, shift, axis, Modulation::on, m, kernel),
                        off = corrected(image, shift, axis, Modulation::off, m, kernel);
    return on.at(5, 5, 4) / off.at(5, 5, 4);
  };
  EXPECT_NEAR(middle(1, glm::dmat4(1.0)), 1.0, 1e-6);
  EXPECT_NEAR(middle(0, glm::dmat4(1.0)), 1.02, 1e-6);
  EXPECT_NEAR(middle(1, quarterTurn()), 1.02, 1e-6);
  EXPECT_NEAR(middle(0, quarterTurn()), 1.0, 1e-6);
  EXPECT_NEAR(middle(1, glm::inverse(quarterTurn())), 0.98, 1e-6);
  kernel = InterpolationKernel::lanczos;
  EXPECT_NEAR(middle(1, quarterTurn()), 1.02, 1e-6);
}

TEST(MovedCorrector, AQuarterTurnOfTheHeadIsTurnedBack) {
  const Volume<float> image = smoothImage(dims);
  const Volume<float> result =
      corrected(image, Volume<float>(dims, 0.0f), 1, Modulation::off, quarterTurn());
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x)
        ASSERT_NEAR(result.at(x, y, z), image.at(10 - y, x, z), 2e-4);
}

TEST(MovedCorrector, WhatWasNotMeasuredIsZero) {
  const Volume<float> image(dims, 100.0f), none(dims, 0.0f);
  const Volume<float> result = corrected(image, none, 1, Modulation::off, translation({0, 0, 1.4}));
  EXPECT_NEAR(result.at(5, 5, dims.z - 2), 100, 1e-3);  // 0.4 slices beyond the last one
  EXPECT_EQ(result.at(5, 5, dims.z - 1), 0);
}

TEST(MovedCorrector, RefusesWhatIsNoMotion) {
  const Volume<float> image(dims, 1.0f);
  for (const glm::dmat4& m : {glm::dmat4(0.0), glm::dmat4(std::nan(""))})
    EXPECT_THROW(corrected(image, image, 1, Modulation::off, m), std::logic_error);
  EXPECT_THROW(
      corrected(Volume<float>(glm::ivec3(3), 1.0f), image, 1, Modulation::off, glm::dmat4(1.0)),
      std::logic_error);
}

}  // namespace mirel

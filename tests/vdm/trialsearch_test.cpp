#include "vdm/trialsearch.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "simd/eachvariant.h"
#include "support/compare.h"
#include "support/random_volume.h"
#include "vdm/literalsweep.h"

namespace mirel {

namespace {

const float inf = std::numeric_limits<float>::infinity();
const float nan = std::numeric_limits<float>::quiet_NaN();

const std::vector<float> sevenAmplitudes = {-2.4f, -1.6f, -0.8f, 0.0f, 0.8f, 1.6f, 2.4f};

// Both measures in every variant against the literal sweep.
void expectSame(const SweepInput& input, glm::ivec3 window, float patternValue,
                const std::vector<float>& amplitudes) {
  for (const bool useSsd : {true, false}) {
    const SweepResult wanted =
        literalSweep(input, Volume<float>(window, patternValue), amplitudes, useSsd);
    for (const SimdVariant variant : supportedVariants()) {
      SCOPED_TRACE(std::string(useSsd ? "SSD " : "NCC ") + nameOf(variant));
      Volume<float> updated = input.vdm, weights(input.vdm.dimensions(), 0.25f);
      searchConstantPattern(
          {input.ap, input.pa, input.apUndistorted, input.paUndistorted, input.vdm},
          {window, patternValue}, amplitudes, useSsd, 100.0f, updated, weights, variant);
      EXPECT_TRUE(compare::same(weights, wanted.weights)) << "visits";
      EXPECT_TRUE(compare::same(updated, wanted.updated)) << "choices";
    }
  }
}

// How much of the image is foreground.
enum class Brightness { everywhere, half, sparse };

Volume<float> image(glm::ivec3 dims, Brightness brightness, Random& random) {
  const float top[] = {1000.0f, 200.0f, 104.0f};
  return random.volume(dims, brightness == Brightness::everywhere ? 101.0f : 0.0f,
                       top[static_cast<int>(brightness)]);
}

// Displacements up to `reach`; the start state is the images resampled through them.
SweepInput sweepInput(glm::ivec3 dims, Brightness brightness, float reach, Random& random) {
  SweepInput in{image(dims, brightness, random), image(dims, brightness, random),
                Volume<float>(dims), Volume<float>(dims), random.volume(dims, -reach, reach)};
  reference::applyVdmYLinear(in.apUndistorted, in.ap, in.vdm, false);
  reference::applyVdmYLinearReverse(in.paUndistorted, in.pa, in.vdm);
  return in;
}

TEST(TrialSearch, EqualsTheLiteralSweepForEverySize) {
  Random random(21);
  for (const glm::ivec3 dims : testSizes())
    for (const int window : {1, 3, 5}) {
      SCOPED_TRACE(testing::Message()
                   << dims.x << "x" << dims.y << "x" << dims.z << " window " << window);
      expectSame(sweepInput(dims, Brightness::half, 1.5f, random), glm::ivec3(window), 1.0f,
                 {-0.7f, 0.3f, 1.1f});
    }
}

TEST(TrialSearch, EqualsTheLiteralSweepForEveryRowLength) {
  Random random(22);
  for (const int nx : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 65})
    for (const Brightness brightness : {Brightness::everywhere, Brightness::sparse}) {
      SCOPED_TRACE(testing::Message() << "rows of " << nx);
      expectSame(sweepInput({nx, 7, 3}, brightness, 1.0f, random), {5, 3, 3}, 1.0f,
                 {-0.6f, 0.0f, 0.6f});
      expectSame(sweepInput({nx, 7, 3}, brightness, 1.0f, random), {7, 3, 3}, 1.0f,
                 {-1.0f, -0.8f, -0.6f, -0.4f, -0.2f, 0.0f, 0.2f, 0.4f, 0.6f, 0.8f, 1.0f});
    }
}

TEST(TrialSearch, WindowsThatAreNotCubicAndLargerThanTheImage) {
  Random random(23);
  for (const glm::ivec3 window : {glm::ivec3(1, 1, 5), glm::ivec3(1, 5, 1), glm::ivec3(5, 1, 1),
                                  glm::ivec3(3, 7, 5), glm::ivec3(9, 9, 9), glm::ivec3(21, 3, 15)})
    for (const glm::ivec3 dims : {glm::ivec3(4, 5, 3), glm::ivec3(18, 6, 4)}) {
      SCOPED_TRACE(testing::Message() << window.x << "x" << window.y << "x" << window.z << " in "
                                      << dims.x << "x" << dims.y << "x" << dims.z);
      expectSame(sweepInput(dims, Brightness::half, 1.0f, random), window, 1.0f,
                 {-1.0f, 0.4f, 0.9f});
    }
}

TEST(TrialSearch, DisplacementsThatLeaveTheImage) {
  Random random(24);
  for (const float reach : {0.0f, 3.0f, 8.0f, 40.0f})
    for (const Brightness brightness :
         {Brightness::everywhere, Brightness::half, Brightness::sparse}) {
      SCOPED_TRACE(testing::Message() << "reach " << reach);
      expectSame(sweepInput({11, 9, 6}, brightness, reach, random), {5, 5, 5}, 1.0f,
                 sevenAmplitudes);
      expectSame(sweepInput({9, 2, 5}, brightness, reach, random), {3, 3, 3}, 1.0f,
                 sevenAmplitudes);
    }
}

// Positions of exactly 0 and ny - 1 count as outside.
TEST(TrialSearch, WholeNumberPositionsAtTheBorders) {
  Random random(25);
  for (int round = 0; round < 6; ++round) {
    SweepInput in = sweepInput({10, 6, 4}, Brightness::half, 3.0f, random);
    for (int i = 0; i < in.vdm.size(); ++i) in.vdm.data()[i] = std::round(in.vdm.data()[i]);
    reference::applyVdmYLinear(in.apUndistorted, in.ap, in.vdm, false);
    reference::applyVdmYLinearReverse(in.paUndistorted, in.pa, in.vdm);
    expectSame(in, {3, 3, 3}, 1.0f, {-2.0f, -1.0f, 0.0f, 0.5f, 1.0f, 2.0f});
  }
}

// A first amplitude far outside and later ones inside: the first visit sees the start value, the
// later ones what the last visit left.
TEST(TrialSearch, TheFirstVisitSeesTheStartValueWhereTheFirstAmplitudeIsOutside) {
  Random random(26);
  const std::vector<std::vector<float>> schedules = {
      {30.0f, 0.5f},        {-30.0f, 0.5f, -0.25f}, {30.0f, -30.0f, 0.5f}, {0.5f, 30.0f},
      {30.0f, 0.5f, 30.0f}, {4.0f, -4.0f, 0.1f},    {30.0f, 40.0f, 50.0f},
  };
  for (const std::vector<float>& amplitudes : schedules)
    for (const Brightness brightness :
         {Brightness::everywhere, Brightness::half, Brightness::sparse}) {
      SCOPED_TRACE(testing::Message()
                   << "first amplitudes " << amplitudes[0] << ", " << amplitudes[1]);
      SweepInput in = sweepInput({13, 8, 5}, brightness, 1.0f, random);
      // A start state that no resampling of the images gives.
      in.apUndistorted = image({13, 8, 5}, brightness, random);
      in.paUndistorted = image({13, 8, 5}, brightness, random);
      expectSame(in, {3, 5, 3}, 1.0f, amplitudes);
    }
}

// Only visits darken or brighten voxels: the foreground test of uncovered ones sees the start.
TEST(TrialSearch, TheForegroundTestSeesTheLastTrialOnlyWhereAVisitCovered) {
  Random random(27);
  for (int round = 0; round < 8; ++round) {
    SweepInput in = sweepInput({24, 8, 8}, Brightness::sparse, 1.0f, random);
    for (int i = 0; i < in.ap.size(); ++i) in.ap.data()[i] = random.below(2) ? 300.0f : 10.0f;
    expectSame(in, {3, 3, 3}, 1.0f, {0.2f, -0.6f});
    expectSame(in, {5, 1, 3}, 1.0f, {-0.3f});
  }
}

// Rows far from any foreground are never tried; dim ones that trials brighten are, once covered.
TEST(TrialSearch, IslandsOfForegroundFarApart) {
  Random random(38);
  const glm::ivec3 dims(13, 40, 22);
  for (int round = 0; round < 6; ++round) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    SweepInput in = sweepInput(dims, Brightness::everywhere, 1.5f, random);
    in.apUndistorted = in.paUndistorted = Volume<float>(dims, 50.0f);
    for (int island = 0; island < 1 + round; ++island)
      in.apUndistorted.at(random.below(dims.x), random.below(dims.y), random.below(dims.z)) = 101;
    for (int i = 0; i < in.ap.size(); ++i)
      if (random.below(4)) in.ap.data()[i] = in.pa.data()[i] = 10.0f;
    expectSame(in, {3, 3, 3}, 1.0f, {40.0f, -0.6f, 0.2f});
    expectSame(in, {5, 5, 1}, 1.0f, {0.7f, -0.6f});
  }
}

// Foreground is brighter than 100; at whole positions a trial shows the samples themselves.
TEST(TrialSearch, AVisitThatLeavesExactlyTheThresholdLeavesBackground) {
  Random random(37);
  const float samples[] = {10.0f, 100.0f, std::nextafter(100.0f, 200.0f), 300.0f};
  for (int round = 0; round < 8; ++round) {
    SweepInput in = sweepInput({20, 9, 6}, Brightness::sparse, 0.0f, random);
    for (Volume<float>* image : {&in.ap, &in.pa, &in.apUndistorted, &in.paUndistorted})
      for (int i = 0; i < image->size(); ++i)
        image->data()[i] = samples[random.below(round % 2 ? 4 : 2)];
    for (int i = 0; i < 6; ++i) in.apUndistorted.data()[random.below(in.ap.size())] = 500.0f;
    expectSame(in, {3, 3, 3}, 1.0f, {0.5f, 0.0f});
  }
}

TEST(TrialSearch, PatternsOfOtherConstants) {
  Random random(28);
  for (const float value : {0.5f, 0.0f, -0.0f, -1.0f, 1e30f, inf, nan}) {
    SCOPED_TRACE(testing::Message() << "value " << value);
    expectSame(sweepInput({12, 9, 5}, Brightness::half, 2.0f, random), {5, 5, 3}, value,
               {-1.3f, 0.0f, 0.6f, 2.2f});
  }
}

TEST(TrialSearch, TiesTakeTheEarlierAmplitude) {
  Random random(29);
  const glm::ivec3 dims(17, 8, 4), window(3, 3, 3);
  const SweepInput constant{Volume<float>(dims, 500.0f), Volume<float>(dims, 500.0f),
                            Volume<float>(dims, 500.0f), Volume<float>(dims, 500.0f),
                            Volume<float>(dims, 0.0f)};
  expectSame(constant, window, 1.0f, {0.3f, -0.3f, 0.1f});
  const SweepInput random1 = sweepInput(dims, Brightness::half, 1.0f, random);
  expectSame(random1, window, 1.0f, {0.3f, 0.3f, -0.2f, 0.3f, -0.2f});
  expectSame(random1, window, 0.0f, {0.3f, -0.1f, 0.7f});
  Volume<float> updated = constant.vdm, weights(dims, 0.25f);
  searchConstantPattern(
      {constant.ap, constant.pa, constant.apUndistorted, constant.paUndistorted, constant.vdm},
      {window, 1.0f}, {0.3f, -0.3f, 0.1f}, /*useSsd=*/true, 100.0f, updated, weights,
      chosenVariant());
  EXPECT_FLOAT_EQ(updated.at(8, 4, 2), 0.3f);
}

TEST(TrialSearch, ASingleAmplitudeIsTaken) {
  Random random(30);
  expectSame(sweepInput({10, 7, 4}, Brightness::half, 2.0f, random), {5, 5, 5}, 1.0f, {0.75f});
}

TEST(TrialSearch, OddImageValuesAndDisplacements) {
  Random random(31);
  for (int round = 0; round < 10; ++round) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    SweepInput in = sweepInput({20, 8, 5}, Brightness::half, 2.0f, random);
    if (round % 2 == 0) sprinkleOddValues(in.ap, random);
    if (round % 3 == 0) sprinkleOddValues(in.pa, random);
    if (round % 5 < 2) sprinkleOddValues(in.vdm, random);
    if (round % 4 == 1) sprinkleOddValues(in.apUndistorted, random);
    expectSame(in, {3, 3, 3}, 1.0f, {-3.0f, -0.5f, 0.5f, 3.0f});
  }
}

TEST(TrialSearch, OddAmplitudes) {
  Random random(32);
  const SweepInput in = sweepInput({12, 8, 4}, Brightness::half, 1.0f, random);
  expectSame(in, {3, 3, 3}, 1.0f, {nan, 0.5f, inf, -0.5f});
  expectSame(in, {3, 3, 3}, 1.0f, {0.5f, nan, -inf});
}

// The cost's sums are so sensitive to their order that a moved addition changes choices.
TEST(TrialSearch, ValuesOfVeryDifferentMagnitude) {
  Random random(33);
  for (int round = 0; round < 4; ++round) {
    SweepInput in = sweepInput({34, 7, 5}, Brightness::half, 1.0f, random);
    for (int i = 0; i < in.ap.size(); ++i) {
      in.ap.data()[i] *= std::pow(10.0f, random.uniform(-1.0f, 6.0f));
      in.pa.data()[i] *= std::pow(10.0f, random.uniform(-1.0f, 6.0f));
    }
    expectSame(in, {5, 5, 5}, 1.0f, {-0.01f, -0.005f, 0.0f, 0.005f, 0.01f, 0.010001f});
  }
}

// p just below 64: p + 1 rounds up to 65, which is past the last row where there are 65.
TEST(TrialSearch, PositionsJustBelowAWholeNumber) {
  Random random(34);
  for (const int ny : {65, 70}) {
    SweepInput in = sweepInput({5, ny, 3}, Brightness::everywhere, 0.5f, random);
    for (int z = 0; z < 3; ++z)
      for (int y = 0; y < ny; ++y)
        for (int x = 0; x < 5; ++x)
          in.vdm.at(x, y, z) = std::nextafter(64.0f, 0.0f) - static_cast<float>(y);
    expectSame(in, {3, 3, 3}, 1.0f, {0.0f, -1e-5f, -0.5f});
  }
}

// Costs so small that anything added to them from outside the image would swamp them.
TEST(TrialSearch, DimTrialsOfABrightStart) {
  Random random(36);
  SweepInput in = sweepInput({19, 8, 5}, Brightness::half, 1.0f, random);
  in.ap = random.volume(in.ap.dimensions(), 0.0f, 1e-12f);
  in.pa = random.volume(in.pa.dimensions(), 0.0f, 1e-12f);
  expectSame(in, {5, 5, 5}, 1.0f, {-0.6f, 0.0f, 0.3f, 0.6f});
}

// Only one position of a voxel is exactly 0 or ny - 1, all others lie inside.
TEST(TrialSearch, ASinglePositionOnTheFirstOrTheLastRow) {
  Random random(35);
  for (const std::vector<float>& amplitudes :
       {std::vector<float>{-2.0f, -1.0f, 0.5f}, {1.0f, -0.5f, 2.0f}, {0.5f, 2.0f, -0.25f}}) {
    SweepInput in = sweepInput({12, 9, 4}, Brightness::half, 1.0f, random);
    in.vdm.setAll(0);
    expectSame(in, {3, 3, 3}, 1.0f, amplitudes);
  }
}

TEST(TrialSearch, AnEmptyImageHasNothingToSearch) {
  Volume<float> none(0, 4, 4), updated(0, 4, 4), weights(0, 4, 4);
  searchConstantPattern({none, none, none, none, none}, {{3, 3, 3}, 1.0f}, {0.5f}, true, 100.0f,
                        updated, weights, chosenVariant());
  EXPECT_EQ(updated.size(), 0);
}

}  // namespace

}  // namespace mirel

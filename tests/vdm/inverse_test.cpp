// Inverting a map, counting and smoothing its errors.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "reference/vdm.h"
#include "support/column.h"
#include "support/compare.h"
#include "support/random_volume.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

using compare::same;

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

TEST(InvertVdm, OfAZeroMapIsZero) {
  EXPECT_EQ(invertVDM(Volume<float>(3, 5, 2, 0.0f)), Volume<float>(3, 5, 2, 0.0f));
}

TEST(InvertVdm, RowsThatNoPairEnclosesAreZero) {
  // Rows map to 1 2 3 4: row 0 lies before them; row 3 is enclosed by the last pair.
  EXPECT_EQ(invertVDM(column({1, 1, 1, 1})), column({0, -1, -1, -1}));
  // Rows map to -1 0 1 2: row 2 is at the last position, row 3 beyond it.
  EXPECT_EQ(invertVDM(column({-1, -1, -1, -1})), column({1, 1, 0, 0}));
}

TEST(InvertVdm, InterpolatesBetweenTheMappedPositions) {
  // Positions 0 2 4 6: row 1 comes from 0.5, row 3 from 1.5.
  EXPECT_EQ(invertVDM(column({0, 1, 2, 3})), column({0, -0.5f, -1, -1.5f}));
}

TEST(InvertVdm, UndoesASmoothMap) {
  const int n = 40;
  Volume<float> vdm(1, n, 1);
  for (int y = 0; y < n; ++y) vdm.at(0, y, 0) = 2 * std::sin(0.2f * static_cast<float>(y));
  const Volume<float> inv = invertVDM(vdm);
  for (int t = 4; t < n - 4; ++t) {
    // The map, linear between rows as the inverse takes it, brings the inverse's position to t.
    const float position = static_cast<float>(t) + inv.at(0, t, 0);
    const int row = static_cast<int>(position);
    const float f = position - static_cast<float>(row);
    const float back = position + (1 - f) * vdm.at(0, row, 0) + f * vdm.at(0, row + 1, 0);
    EXPECT_NEAR(back, static_cast<float>(t), 1e-4);
  }
}

TEST(InvertVdm, OfAFoldedColumnTakesTheSearchAsItFalls) {
  // Positions 3 0 5 2. The halving search for row 0: 0 < m[2], 0 < m[1] no, so i = 2, for row 1
  // the same; row 2 as well; row 3: 3 < 5, then past m[1], i = 2.
  const Volume<float> inv = invertVDM(column({3, -1, 3, -1}));
  for (int t = 0; t < 4; ++t) {
    const float expected = static_cast<float>(((5.0 - t) * 1 + (t - 0.0) * 2) / (5.0 - 0.0) - t);
    EXPECT_NEAR(inv.at(0, t, 0), expected, 1e-6) << t;
  }
}

TEST(InvertVdm, AgreesWithTheReference) {
  Random random(1);
  for (const glm::ivec3 d : testSizes())
    for (const float reach : {0.0f, 0.4f, 0.6f, 3.0f, 50.0f})
      for (const bool odd : {false, true}) {
        Volume<float> vdm = random.volume(d, -reach, reach);
        for (int i = 0; i < vdm.size(); i += 3) vdm.data()[i] = std::round(vdm.data()[i]);
        if (odd) sprinkleOddValues(vdm, random);
        EXPECT_TRUE(same(invertVDM(vdm), reference::invertVDM(vdm)))
            << d.x << "x" << d.y << "x" << d.z << ", shifts to " << reach;
      }
  for (const float constant : {nan, inf, -inf, 1e30f, 0.5f})
    EXPECT_TRUE(same(invertVDM(Volume<float>(2, 9, 2, constant)),
                     reference::invertVDM(Volume<float>(2, 9, 2, constant))));
}

TEST(VdmErrors, AreStepsOfMoreThanOneVoxelInEitherDirection) {
  EXPECT_EQ(nrOfErrorsInVDM(column({0, 0, 2})), 1);
  EXPECT_EQ(nrOfErrorsInVDM(column({2, 0, 0})), 1);
  EXPECT_EQ(nrOfErrorsInVDM(column({0, 1, 0})), 0) << "exactly one is no error";
  EXPECT_EQ(nrOfErrorsInVDM(column({0, std::nextafter(1.0f, 2.0f)})), 1);
  EXPECT_EQ(nrOfErrorsInVDM(column({0, 3, 0, 3})), 3);
  EXPECT_EQ(nrOfErrorsInVDM(column({0, nan, 0})), 0);
  EXPECT_EQ(nrOfErrorsInVDM(column({0, inf, 0})), 2);
  EXPECT_EQ(nrOfErrorsInVDM(column({7})), 0);
}

TEST(VdmErrors, CountOnlyNeighboursAlongY) {
  Volume<float> vdm(3, 2, 3, 0.0f);
  for (int y = 0; y < 2; ++y) vdm.at(1, y, 1) = 9;  // steps along x and z only
  EXPECT_EQ(nrOfErrorsInVDM(vdm), 0);
  vdm.at(2, 0, 2) = 5;
  EXPECT_EQ(nrOfErrorsInVDM(vdm), 1);
}

TEST(VdmErrors, CountAgreesWithTheReference) {
  Random random(2);
  for (const glm::ivec3 d : testSizes())
    for (const bool odd : {false, true}) {
      Volume<float> vdm = random.volume(d, -1.5f, 1.5f);
      for (int i = 0; i < vdm.size(); i += 3) vdm.data()[i] = std::round(vdm.data()[i]);
      if (odd) sprinkleOddValues(vdm, random);
      EXPECT_EQ(nrOfErrorsInVDM(vdm), reference::nrOfErrorsInVDM(vdm));
    }
}

TEST(SmoothErrors, CountsElevenSingleAdjustmentsForAStepOfTwoBecauseOfRounding) {
  Volume<float> vdm = column({0, 0, 2});
  EXPECT_EQ(smoothErrors(vdm), 11);
  EXPECT_EQ(vdm.at(0, 0, 0), 0);
  EXPECT_NEAR(vdm.at(0, 1, 0), 0.55, 1e-5);
  EXPECT_NEAR(vdm.at(0, 2, 0), 1.45, 1e-5);
}

TEST(SmoothErrors, LeaveACleanMapAlone) {
  Volume<float> vdm = column({0, 1, 0, -1, -0.5f});
  const Volume<float> before = vdm;
  EXPECT_EQ(smoothErrors(vdm), 0);
  EXPECT_EQ(vdm, before);
}

TEST(SmoothErrors, LeaveNoErrors) {
  Random random(3);
  Volume<float> vdm = random.volume({5, 12, 4}, -6, 6);
  ASSERT_GT(nrOfErrorsInVDM(vdm), 0);
  EXPECT_GT(smoothErrors(vdm), 0);
  EXPECT_EQ(nrOfErrorsInVDM(vdm), 0);
}

TEST(SmoothErrors, KeepTheSumOfAColumnToRounding) {
  Volume<float> vdm = column({0, 6, -3, 2, 2});
  smoothErrors(vdm);
  EXPECT_NEAR(vdm.mean() * 5, 7, 1e-3);
}

TEST(SmoothErrors, ContinueAtTheNextRowWithTheUpdatedValues) {
  // 0 1.04 2.06: the first pair comes first and widens the second by 0.05 to 1.07, so both move.
  Volume<float> both = column({0, 1.04f, 2.06f});
  Volume<float> expected = both;
  EXPECT_EQ(smoothErrors(both), reference::smoothErrors(expected));
  EXPECT_TRUE(same(both, expected));
  // 0 1.04 2.02: the second step is clean until the first adjustment has made it 1.03.
  Volume<float> made = column({0, 1.04f, 2.02f});
  EXPECT_GE(smoothErrors(made), 2);
  EXPECT_EQ(nrOfErrorsInVDM(made), 0);
}

TEST(SmoothErrors, EndOnStepsThatFiveHundredthsCannotChange) {
  Volume<float> huge = column({0, 0, 1e9f, -1e9f});
  huge.at(0, 0, 0) = huge.at(0, 1, 0) = 1e9f;
  EXPECT_EQ(smoothErrors(huge), 0);
  Volume<float> infinite = column({inf, -inf, inf, inf});
  EXPECT_EQ(smoothErrors(infinite), 0);
  Volume<float> notANumber = column({nan, 5, nan, 0});
  EXPECT_EQ(smoothErrors(notANumber), 0);
  EXPECT_EQ(notANumber.at(0, 1, 0), 5);
}

TEST(SmoothErrors, EndWhereRoundingIsAsLargeAsAnAdjustment) {
  // Around 2^19 .. 2^21 an adjustment of 0.05 rounds to more, or to nothing, or on one side only.
  Random random(4);
  for (const float base : {262144.0f, 524288.0f, 1048576.0f, -524288.0f, -1048576.0f, 2097152.0f})
    for (int trial = 0; trial < 20; ++trial) {
      Volume<float> a(1, 6, 1);
      for (int y = 0; y < 6; ++y) a.at(0, y, 0) = base + random.uniform(-6.0f, 6.0f);
      Volume<float> b = a;
      EXPECT_EQ(smoothErrors(a), reference::smoothErrors(b)) << base;
      EXPECT_TRUE(same(a, b)) << base;
    }
}

TEST(SmoothErrors, AgreeWithTheReference) {
  Random random(5);
  for (const glm::ivec3 d : testSizes())
    for (const float reach : {0.4f, 0.8f, 3.0f, 20.0f})
      for (const bool withNan : {false, true}) {
        Volume<float> a = random.volume(d, -reach, reach);
        for (int i = 0; i < a.size(); i += 3) a.data()[i] = std::round(a.data()[i]);
        if (withNan) a.data()[random.below(a.size())] = nan;
        Volume<float> b = a;
        EXPECT_EQ(smoothErrors(a), reference::smoothErrors(b));
        EXPECT_TRUE(same(a, b)) << d.x << "x" << d.y << "x" << d.z << ", values to " << reach;
      }
}

TEST(LowestAbsoluteValue, KeepsTheEarliestOfEqualMagnitudes) {
  EXPECT_EQ(indexLowestAbsoluteValue({-2, 1, -1}), 1);
  EXPECT_EQ(indexLowestAbsoluteValue({3, -1, 0.5f, -0.5f, 2}), 2);
  EXPECT_EQ(indexLowestAbsoluteValue({0.0f, -0.0f}), 0);
}

TEST(LowestAbsoluteValue, IsZeroForFewerThanTwoElements) {
  EXPECT_EQ(indexLowestAbsoluteValue({}), 0);
  EXPECT_EQ(indexLowestAbsoluteValue({5}), 0);
}

TEST(LowestAbsoluteValue, SkipsNanAfterTheFirst) {
  EXPECT_EQ(indexLowestAbsoluteValue({2, nan, 1}), 2);
  EXPECT_EQ(indexLowestAbsoluteValue({nan, 1}), 0);
}

}  // namespace

}  // namespace mirel

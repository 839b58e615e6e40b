// Resampling of listed voxels through a map plus a local pattern.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "reference/vdm.h"
#include "support/compare.h"
#include "support/random_volume.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

using compare::failsAssertion;
using compare::same;
using Voxels = std::vector<glm::ivec3>;

// One column of rows 0, 10, 20, ...; a pattern of the single value 1.
struct Column {
  explicit Column(int ny) : src(1, ny, 1), dst(1, ny, 1, -1.0f), vdm(1, ny, 1, 0.0f) {
    for (int y = 0; y < ny; ++y) src.at(0, y, 0) = 10.0f * static_cast<float>(y);
  }
  float resampled(int y, float shift, bool reverse = false) {
    applyVdmPlusLocalYLinearFast(dst, src, vdm, {{0, y, 0}}, pattern, {{0, 0, 0}}, shift, reverse);
    return dst.at(0, y, 0);
  }
  Volume<float> src, dst, vdm, pattern = Volume<float>(1, 1, 1, 1.0f);
};

TEST(LocalResampling, InterpolatesTheListedVoxelsOnly) {
  Column c(8);
  EXPECT_EQ(c.resampled(3, 0.5f), 35);
  EXPECT_EQ(c.resampled(4, 0.25f, true), 37.5f);
  EXPECT_EQ(c.resampled(6, 0.0f), 60);
  for (const int y : {0, 1, 2, 5, 7}) EXPECT_EQ(c.dst.at(0, y, 0), -1) << y;
}

TEST(LocalResampling, AddsTheMapToFactorTimesPattern) {
  Column c(8);
  c.vdm.setAll(1);
  c.pattern.setAll(0.5f);
  EXPECT_EQ(c.resampled(3, 3.0f), 55);
  EXPECT_EQ(c.resampled(4, 3.0f, true), 15) << "the sign turns both";
}

TEST(LocalResampling, LeavesVoxelsAtExactlyTheFirstOrLastRowUntouched) {
  Column c(8);
  EXPECT_EQ(c.resampled(0, 0.0f), -1);
  EXPECT_EQ(c.resampled(2, -2.0f), -1);
  EXPECT_EQ(c.resampled(7, 0.0f), -1);
  EXPECT_EQ(c.resampled(5, 2.0f), -1);
  EXPECT_NEAR(c.resampled(0, 1e-6f), 0, 1e-4) << "just inside is written";
  EXPECT_NEAR(c.resampled(6, 0.999f), 69.99, 0.001);
}

TEST(LocalResampling, LeavesVoxelsThatLandOutsideUntouched) {
  Column c(8);
  const float odd[] = {-3.5f,
                       9.0f,
                       1e30f,
                       -1e30f,
                       std::numeric_limits<float>::quiet_NaN(),
                       std::numeric_limits<float>::infinity()};
  for (const float shift : odd) EXPECT_EQ(c.resampled(3, shift), -1) << shift;
}

TEST(LocalResampling, NeedsThreeRowsToWriteAtAWholePosition) {
  Column two(2);
  EXPECT_EQ(two.resampled(0, 0.0f), -1);
  EXPECT_EQ(two.resampled(0, 0.5f), 5);
  Column one(1);
  EXPECT_EQ(one.resampled(0, 0.5f), -1);
}

TEST(LocalResampling, KeepsToTheLastRowWherePlusOneRoundsUpToTheRowCount) {
  Column c(2);
  const float shift = std::nextafter(1.0f, 0.0f);
  ASSERT_EQ(shift + 1.0f, 2.0f);
  EXPECT_EQ(c.resampled(0, shift), shift * 10.0f);
}

TEST(LocalResampling, EqualsTheFullVariantInsideTheGrid) {
  Random random(1);
  const glm::ivec3 d(6, 9, 5);
  const Volume<float> src = random.volume(d, 0, 100), vdm = random.volume(d, -3, 3);
  const Volume<float> untouched(d, -1.0f), noPattern(1, 1, 1, 0.0f);
  Volume<float> full(d), local = untouched;
  applyVdmYLinear(full, src, vdm, false);
  Voxels all;
  for (int z = 0; z < d.z; ++z)
    for (int y = 0; y < d.y; ++y)
      for (int x = 0; x < d.x; ++x) all.emplace_back(x, y, z);
  applyVdmPlusLocalYLinearFast(local, src, vdm, all, noPattern, Voxels(all.size()), 1.0f, false);
  int written = 0;
  for (int i = 0; i < local.size(); ++i)
    if (local.data()[i] != -1.0f) {
      EXPECT_NEAR(local.data()[i], full.data()[i], 1e-4);
      ++written;
    }
  EXPECT_GT(written, 100);
}

TEST(LocalResampling, ChecksBeforeItWrites) {
  const Volume<float> src(2, 3, 4, 1.0f), pattern(1, 1, 1, 0.0f);
  Volume<float> dst(2, 3, 4, 5.0f), other(3, 2, 4, 5.0f);
  const Volume<float> vdm(2, 3, 4, 0.0f), otherVdm(2, 4, 3, 0.0f);
  const Voxels voxels{{1, 1, 1}}, local{{0, 0, 0}};
  EXPECT_TRUE(failsAssertion(
      [&] { applyVdmPlusLocalYLinearFast(other, src, otherVdm, voxels, pattern, local, 1, false); },
      "assertion failure (src/vdm/vdm.cpp:40): dst.dimensions() == src.dimensions()"));
  EXPECT_TRUE(failsAssertion(
      [&] { applyVdmPlusLocalYLinearReverseFast(dst, src, otherVdm, voxels, pattern, local, 1); },
      "assertion failure (src/vdm/vdm.cpp:41): vdm.dimensions() == src.dimensions()"));
  EXPECT_TRUE(failsAssertion(
      [&] { applyVdmPlusLocalYLinearFast(dst, dst, vdm, voxels, pattern, local, 1, true); },
      "assertion failure (src/vdm/vdm.cpp:42): &dst != &src"));
  EXPECT_EQ(dst, Volume<float>(2, 3, 4, 5.0f));
}

TEST(LocalResampling, AgreesWithTheReference) {
  Random random(2);
  for (const glm::ivec3 d : testSizes())
    for (const float reach : {0.7f, 3.0f, 40.0f})
      for (const bool odd : {false, true}) {
        Volume<float> src = random.volume(d, -10, 1000), vdm = random.volume(d, -reach, reach);
        for (int i = 0; i < vdm.size(); i += 4) vdm.data()[i] = std::round(vdm.data()[i]);
        if (odd) {
          sprinkleOddValues(vdm, random);
          sprinkleOddValues(src, random);
        }
        const glm::ivec3 patternDims(3, 5, 3);
        const Volume<float> pattern = random.volume(patternDims, 0, 1);
        Voxels voxels, local;
        for (int k = 0; k < 300; ++k) {
          voxels.emplace_back(random.below(d.x), random.below(d.y), random.below(d.z));
          local.emplace_back(random.below(3), random.below(5), random.below(3));
        }
        const float factor = random.uniform(-2.0f, 2.0f);
        Volume<float> a(d, -1.0f), b(d, -1.0f);
        applyVdmPlusLocalYLinearFast(a, src, vdm, voxels, pattern, local, factor, false);
        reference::applyVdmPlusLocalYLinearFast(b, src, vdm, voxels, pattern, local, factor, false);
        EXPECT_TRUE(same(a, b));
        applyVdmPlusLocalYLinearReverseFast(a, src, vdm, voxels, pattern, local, factor);
        reference::applyVdmPlusLocalYLinearReverseFast(b, src, vdm, voxels, pattern, local, factor);
        EXPECT_TRUE(same(a, b)) << "reverse";
        Volume<float> c(d, -1.0f), e(d, -1.0f);
        applyVdmPlusLocalYLinearFast(c, src, vdm, voxels, pattern, local, factor, true);
        applyVdmPlusLocalYLinearReverseFast(e, src, vdm, voxels, pattern, local, factor);
        EXPECT_TRUE(same(c, e)) << "the reverse form is the forward one with the flag";
      }
}

}  // namespace

}  // namespace mirel

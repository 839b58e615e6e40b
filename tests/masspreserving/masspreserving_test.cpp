#include "masspreserving/masspreserving.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "base/progress.h"
#include "masspreserving/testdata.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

bool isFinite(const Volume<float>& volume) {
  for (int i = 0; i < volume.size(); ++i)
    if (!std::isfinite(volume.data()[i])) return false;
  return true;
}

TEST(MassPreserving, GivesTheSameBitsOnEveryRun) {
  const testdata::Pair pair = testdata::makePair({24, 30, 18}, 2.0);
  const auto run = [&] { return estimateMassPreserving(pair.first, pair.second, glm::dvec3(2.0)); };
  EXPECT_EQ(run().shiftVoxels, run().shiftVoxels);
}

TEST(MassPreserving, TakesAnySize) {
  for (const glm::ivec3 size :
       {glm::ivec3(1, 1, 1), glm::ivec3(1, 2, 1), glm::ivec3(2, 1, 3), glm::ivec3(1, 40, 1),
        glm::ivec3(3, 5, 2), glm::ivec3(40, 3, 3), glm::ivec3(25, 27, 1), glm::ivec3(1, 33, 25)}) {
    Volume<float> first = testdata::noise<float>(size, 20.0, 1);
    Volume<float> second = testdata::noise<float>(size, 20.0, 2);
    first += 100.0F;
    second += 100.0F;
    const auto result = estimateMassPreserving(first, second, {1.0, 2.0, 3.0});
    EXPECT_EQ(result.shiftVoxels.dimensions(), size);
    EXPECT_TRUE(isFinite(result.shiftVoxels));
    EXPECT_LT(testdata::largestStep(result.shiftVoxels), 1.0);
  }
}

TEST(MassPreserving, TakesAnyVoxelSize) {
  const testdata::Pair pair = testdata::makePair({16, 26, 14}, 1.0);
  for (const glm::dvec3 mm : {glm::dvec3(0.01), glm::dvec3(200.0), glm::dvec3(0.2, 5.0, 30.0)}) {
    const auto result = estimateMassPreserving(pair.first, pair.second, mm);
    EXPECT_TRUE(isFinite(result.shiftVoxels));
    EXPECT_LT(testdata::largestStep(result.shiftVoxels), 1.0);
  }
}

TEST(MassPreserving, OfEmptyConstantOrEqualImagesIsZero) {
  const Volume<float> zero(16, 18, 8, 0.0F), constant(16, 18, 8, 7.0F);
  const testdata::Pair pair = testdata::makePair({16, 18, 8}, 1.0);
  const auto shift = [](const Volume<float>& a, const Volume<float>& b) {
    return estimateMassPreserving(a, b, glm::dvec3(2.0)).shiftVoxels;
  };
  EXPECT_EQ(shift(zero, zero), zero);
  EXPECT_EQ(shift(zero, constant), zero);
  EXPECT_EQ(shift(constant, constant), zero);
  EXPECT_EQ(shift(pair.first, pair.first), zero);
  const Volume<float> empty(0, 0, 0);
  EXPECT_EQ(shift(empty, empty).size(), 0);
}

TEST(MassPreserving, CountsValuesThatAreNotFiniteAsZero) {
  testdata::Pair pair = testdata::makePair({16, 18, 8}, 1.0);
  Volume<float> holes = pair.first, zeros = pair.first;
  holes.at(3, 4, 5) = std::numeric_limits<float>::quiet_NaN();
  holes.at(8, 9, 4) = std::numeric_limits<float>::infinity();
  zeros.at(3, 4, 5) = zeros.at(8, 9, 4) = 0.0F;
  const auto result = estimateMassPreserving(holes, pair.second, glm::dvec3(2.0));
  EXPECT_TRUE(isFinite(result.shiftVoxels));
  EXPECT_EQ(result.shiftVoxels,
            estimateMassPreserving(zeros, pair.second, glm::dvec3(2.0)).shiftVoxels);
}

TEST(MassPreserving, TakesUnrelatedAndNegativeImagesWithoutFolds) {
  const Volume<float> a = testdata::noise<float>({20, 26, 10}, 50.0, 1);
  const Volume<float> b = testdata::noise<float>({20, 26, 10}, 50.0, 2);
  const auto result = estimateMassPreserving(a, b, glm::dvec3(2.0));
  EXPECT_TRUE(isFinite(result.shiftVoxels));
  EXPECT_LT(testdata::largestStep(result.shiftVoxels), 1.0);
}

// No ratio of intensities makes the one of the other, but many nearly do where noise hides both:
// coefficients found there must not count as they are with less of it.
TEST(MassPreserving, OfAHeadInAFewGreysAndItsMaskIsFinite) {
  PhantomOptions options;
  options.size = {32, 36, 16};
  options.voxelMm = glm::dvec3(6.0);
  options.noise = 0.0;
  const Phantom phantom = makePhantom(options);
  const auto inSteps = [](const Volume<float>& image, float steps) {
    Volume<float> result(image.dimensions());
    for (int i = 0; i < image.size(); ++i)
      result.data()[i] = std::round(image.data()[i] / image.max() * steps);
    return result;
  };
  const MassPreservingResult result =
      estimateMassPreserving(inSteps(phantom.ap, 7.0F), inSteps(phantom.pa, 1.0F), glm::dvec3(3.4));
  EXPECT_TRUE(isFinite(result.shiftVoxels));
  EXPECT_LT(testdata::largestStep(result.shiftVoxels), 1.0);
  EXPECT_LT(result.ratioSpread, std::log(100.0));
}

TEST(MassPreserving, EstimatesTheScaleBetweenTheImages) {
  testdata::Pair pair = testdata::makePair({28, 36, 20}, 2.0);
  pair.second *= 1.25F;
  const auto result = estimateMassPreserving(pair.first, pair.second, glm::dvec3(2.0));
  EXPECT_NEAR(result.scale, 0.8, 0.004);
  MassPreservingOptions options;
  options.estimateScale = false;
  EXPECT_EQ(estimateMassPreserving(pair.first, pair.second, glm::dvec3(2.0), options).scale, 1.0);
}

TEST(MassPreserving, RefusesImagesOfDifferentSizeAndImpossibleVoxels) {
  const Volume<float> a(4, 4, 4, 1.0F), b(4, 4, 5, 1.0F);
  EXPECT_THROW(estimateMassPreserving(a, b, glm::dvec3(1.0)), std::invalid_argument);
  for (const double edge : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
    EXPECT_THROW(estimateMassPreserving(a, a, {1.0, edge, 1.0}), std::invalid_argument);
}

TEST(MassPreserving, ReportsEachStepAndStopsWhenTold) {
  const testdata::Pair pair = testdata::makePair({28, 36, 20}, 2.0);
  int calls = 0, lastLevel = 100;
  const auto result = estimateMassPreserving(pair.first, pair.second, glm::dvec3(2.0), {},
                                             [&](const MassPreservingProgress& p) {
                                               ++calls;
                                               EXPECT_LE(p.level, lastLevel);
                                               EXPECT_LT(p.level, p.levels);
                                               lastLevel = p.level;
                                             });
  EXPECT_EQ(calls, result.iterations);
  EXPECT_EQ(lastLevel, 0);
  EXPECT_THROW(estimateMassPreserving(pair.first, pair.second, glm::dvec3(2.0), {},
                                      [](const MassPreservingProgress&) { throw Cancelled(); }),
               Cancelled);
}

}  // namespace

}  // namespace mirel

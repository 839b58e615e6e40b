#include "pair/pairfigures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace mirel {

namespace {

const glm::ivec3 dims(12, 14, 10);

PairToMeasure pairOf(const Volume<float>& first, const Volume<float>& second,
                     const Volume<float>& shift) {
  return {first, second, first, second, shift, 1, {2.0, 3.0, 4.0}, 1.0, 0.0, 0.05};
}

template <typename Value>
Volume<float> filled(const Value& value) {
  Volume<float> volume(dims);
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) volume.at(x, y, z) = static_cast<float>(value(x, y, z));
  return volume;
}

Volume<float> magnitudeNoise(const Volume<float>& image, double sigma, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<float> normal(0.0f, static_cast<float>(sigma));
  Volume<float> result = image;
  for (int i = 0; i < result.size(); ++i)
    result.data()[i] = std::hypot(result.data()[i] + normal(generator), normal(generator));
  return result;
}

}  // namespace

TEST(PairFigures, OfEqualImagesAreThoseOfTheMap) {
  const Volume<float> image(dims, 700.0f), half(dims, 0.5f);
  const PairFigures figures = measurePair(pairOf(image, image, half));
  EXPECT_EQ(figures.columnTotals, 0);
  EXPECT_EQ(figures.residual, 0);
  EXPECT_NEAR(figures.shiftVoxels, 0.5, 1e-6);
  EXPECT_NEAR(*figures.fieldHz, 10, 1e-4);
  EXPECT_NEAR(figures.stretch, 0, 1e-6);
  EXPECT_NEAR(figures.shear, 0, 1e-6);
}

TEST(PairFigures, SlopesAreAlongAndAcrossTheAxis) {
  const Volume<float> image(dims, 700.0f);
  const Volume<float> along = filled([](int, int y, int) { return 0.2 * y; });
  const PairFigures stretched = measurePair(pairOf(image, image, along));
  EXPECT_NEAR(stretched.stretch, 0.2, 1e-5);
  EXPECT_NEAR(stretched.shear, 0, 1e-5);
  const Volume<float> across = filled([](int x, int, int z) { return 0.2 * x - 0.4 * z; });
  const PairFigures sheared = measurePair(pairOf(image, image, across));
  EXPECT_NEAR(sheared.stretch, 0, 1e-5);
  // Voxels of 3 mm along the axis, of 2 and 4 mm across.
  EXPECT_NEAR(sheared.shear, std::hypot(0.3, 0.3), 1e-5);
  EXPECT_NEAR(*sheared.fieldHzPerMm, std::hypot(0.1, 0.1) / 0.05, 1e-4);
}

TEST(PairFigures, TheRangeOfDisplacementsIsThatInTheHead) {
  const Volume<float> image = filled([](int x, int, int) { return x < 6 ? 1000.0 : 0.0; });
  const Volume<float> shift =
      filled([](int x, int y, int) { return x < 6 ? 0.1 * y - 0.5 : 100.0; });
  PairToMeasure pair = pairOf(image, image, shift);
  pair.threshold = 500;
  const PairFigures figures = measurePair(pair);
  EXPECT_FLOAT_EQ(static_cast<float>(figures.shiftLow), -0.5f);
  EXPECT_FLOAT_EQ(static_cast<float>(figures.shiftHigh), 0.8f);
  EXPECT_DOUBLE_EQ(figures.hzPerVoxel.value(), 20);
}

TEST(PairFigures, DifferencesAreThoseBeyondTheRatio) {
  const Volume<float> image = filled([](int x, int y, int) { return 300 + 20 * x + 10 * y; });
  const Volume<float> half = image * 0.5f, none(dims, 0.0f);
  const PairFigures apart = measurePair(pairOf(image, half, none));
  EXPECT_NEAR(apart.columnTotals, 0.5 / 0.75, 1e-6);
  EXPECT_NEAR(apart.residual, 0.5 / 0.75, 1e-6);
  PairToMeasure scaled = pairOf(image, half, none);
  scaled.intensityRatio = 2;
  EXPECT_NEAR(measurePair(scaled).residual, 0, 1e-6);
}

TEST(PairFigures, EachSliceHasItsResidual) {
  const Volume<float> image = filled([](int, int, int z) { return z == 9 ? 1.0 : 100.0; }),
                      none(dims, 0.0f);
  const Volume<float> dark = filled([](int, int, int z) {
    return z == 9 ? 1.5 : z == 3 ? 60.0 : 100.0;
  });
  const PairFigures figures = measurePair(pairOf(image, dark, none));
  const std::vector<double>& found = figures.sliceResiduals;
  ASSERT_EQ(found.size(), 10U);
  for (std::size_t k = 0; k < found.size(); ++k)
    EXPECT_NEAR(found[k], k == 3 ? 40.0 / 80.0 : 0.0, 1e-6) << k;  // of slice 9 too little is left
  EXPECT_NEAR(figures.sliceShares[3], 1600.0 / (1600.0 + 0.25), 1e-6);
  EXPECT_EQ(figures.sliceAxis, 2);
  EXPECT_EQ(figures.sliceMisfits, std::vector<double>(10, 0.0));  // that of the median slice is 0
}

TEST(PairFigures, SlicesAreCountedAlongTheirAxisAndComparedWithTheMedianOne) {
  const Volume<float> image(dims, 100.0f), none(dims, 0.0f);
  for (const int axis : {0, 1, 2}) {
    const Volume<float> darker = filled(
        [axis](int x, int y, int z) { return (glm::ivec3(x, y, z))[axis] == 2 ? 60.0 : 90.0; });
    PairToMeasure pair = pairOf(image, darker, none);
    pair.sliceAxis = axis;
    const PairFigures figures = measurePair(pair);
    EXPECT_EQ(figures.sliceAxis, axis);
    ASSERT_EQ(figures.sliceMisfits.size(), static_cast<std::size_t>(dims[axis]));
    for (std::size_t k = 0; k < figures.sliceMisfits.size(); ++k)
      EXPECT_NEAR(figures.sliceMisfits[k], k == 2 ? 4.0 : 1.0, 1e-6) << axis << " " << k;
  }
}

TEST(PairFigures, SlicesThatOneImageLostAreFoundWhereTheirMeanIsNoHead) {
  // A twentieth of the other slices holds head in the last three.
  const auto head = [](int x, int y, int z) { return z < 7 || (x < 4 && y < 2) ? 100.0 : 1.0; };
  const Volume<float> image = filled(head), none(dims, 0.0f);
  const auto without = [&](int slice, double left) {
    return filled([&](int x, int y, int z) { return (z == slice ? left : 1.0) * head(x, y, z); });
  };
  using Slices = std::vector<int>;
  for (const int slice : {4, 7, 9})
    for (const double left : {0.0, 0.1}) {
      const Volume<float> spoiled = without(slice, left);
      PairToMeasure pair = pairOf(spoiled, image, none);
      pair.threshold = 60;
      const PairFigures byFirst = measurePair(pair);
      EXPECT_EQ(byFirst.slicesLostByFirst, Slices{slice}) << left;
      EXPECT_EQ(byFirst.slicesLostBySecond, Slices{}) << left;
      EXPECT_GT(byFirst.sliceResiduals[static_cast<std::size_t>(slice)], 1.5) << left;
      PairToMeasure exchanged = pairOf(image, spoiled, none);
      exchanged.threshold = 60;
      EXPECT_EQ(measurePair(exchanged).slicesLostBySecond, Slices{slice}) << left;
    }
  // Darker, but there; and next to nothing of the head.
  const Volume<float> darker = without(9, 0.4);
  const Volume<float> tip =
      filled([&](int x, int y, int z) { return z < 9 || x + y == 0 ? head(x, y, z) : 1.0; });
  const Volume<float> noTip =
      filled([&](int x, int y, int z) { return z < 9 ? head(x, y, z) : 1.0; });
  for (const auto& [first, second] : {std::pair(&image, &darker), std::pair(&tip, &noTip)}) {
    PairToMeasure pair = pairOf(*first, *second, none);
    pair.threshold = 30;
    EXPECT_EQ(measurePair(pair).slicesLostBySecond, Slices{});
  }
}

TEST(PairFigures, WhatAMovedImageDidNotReachDoesNotCount) {
  const Volume<float> image(dims, 100.0f), none(dims, 0.0f);
  // Moved upwards by one slice and a half: of the last two slices nothing was seen.
  const Volume<float> second = filled([](int, int, int z) { return z < 8 ? 100.0 : 0.0; });
  PairToMeasure pair = pairOf(image, second, none);
  pair.threshold = 60;
  EXPECT_EQ(measurePair(pair).slicesLostBySecond, (std::vector<int>{8, 9}));
  pair.toSecond = glm::dmat4(1.0);
  (*pair.toSecond)[3][2] = 1.5;
  const PairFigures figures = measurePair(pair);
  EXPECT_EQ(figures.slicesLostBySecond, std::vector<int>{});
  EXPECT_EQ(figures.columnTotals, 0);
  EXPECT_EQ(figures.residual, 0);
  EXPECT_EQ(figures.sliceResiduals, std::vector<double>(10, 0.0));
  (*pair.toSecond)[3][2] = 0.5;
  EXPECT_EQ(measurePair(pair).slicesLostBySecond, std::vector<int>{8});
  // A motion that would leave next to nothing to judge by excuses nothing.
  (*pair.toSecond)[3][2] = 7.0;
  EXPECT_EQ(measurePair(pair).slicesLostBySecond, (std::vector<int>{8, 9}));
}

TEST(PairFigures, NoiseIsMeasuredInTheAirWhateverWasAdded) {
  const Volume<float> object = filled([](int x, int, int) { return x < 5 ? 1000.0 : 0.0; }),
                      none(dims, 0.0f);
  const double sigma = 30;
  const Volume<float> a = magnitudeNoise(object, sigma, 1), b = magnitudeNoise(object, sigma, 2);
  for (const float added : {0.0f, 200.0f}) {
    const Volume<float> first = a + added, second = b + added;
    PairToMeasure pair = pairOf(first, second, none);
    pair.threshold = 500;
    const PairFigures figures = measurePair(pair);
    const double expected = std::sqrt(2.0) * sigma / (1000 + static_cast<double>(added));
    EXPECT_NEAR(figures.residualOfNoise, expected, 0.12 * expected) << added;
    EXPECT_NEAR(figures.residual, expected, 0.12 * expected) << added;
    EXPECT_LT(figures.unexplainedTotals(), 0.01) << added;
  }
}

TEST(PairFigures, WeightsOfOneChangeNothing) {
  const Volume<float> image(dims, 700.0f), half(dims, 0.5f), ones(dims, 1.0f);
  const Volume<float> first = magnitudeNoise(image, 30, 1), second = magnitudeNoise(image, 30, 2);
  PairToMeasure pair = pairOf(first, second, half);
  const PairFigures all = measurePair(pair);
  pair.weights = &ones;
  const PairFigures weighted = measurePair(pair);
  EXPECT_EQ(weighted.columnTotals, all.columnTotals);
  EXPECT_EQ(weighted.columnTotalsOfNoise, all.columnTotalsOfNoise);
  EXPECT_EQ(weighted.residual, all.residual);
  EXPECT_EQ(weighted.residualOfNoise, all.residualOfNoise);
  EXPECT_EQ(weighted.sliceResiduals, all.sliceResiduals);
}

TEST(PairFigures, WhatWeightsLeaveOutIsNotSeen) {
  const Volume<float> image(dims, 700.0f), half(dims, 0.5f);
  const Volume<float> weights = filled([](int, int, int z) { return z < 6 ? 1 : 0; });
  const Volume<float> spoiled = filled([](int, int, int z) { return z < 6 ? 700 : 200; });
  PairToMeasure pair = pairOf(image, spoiled, half);
  EXPECT_GT(measurePair(pair).columnTotals, 0.3);
  EXPECT_GT(measurePair(pair).residual, 0.3);
  pair.weights = &weights;
  EXPECT_EQ(measurePair(pair).columnTotals, 0);
  EXPECT_EQ(measurePair(pair).residual, 0);
}

}  // namespace mirel

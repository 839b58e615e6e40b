#include <gtest/gtest.h>

#include <limits>

#include "numerics/volumegauss.h"
#include "reference/volumegauss.h"
#include "simd/eachvariant.h"
#include "support/compare.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

const float inf = std::numeric_limits<float>::infinity();
const float nan = std::numeric_limits<float>::quiet_NaN();

// Around the lanes of every variant, and around the vectors that are summed at a time. Some of
// these rows are summed one by one, others as planes.
const int rowLengths[] = {1,  2,  3,  4,  5,  7,  8,  9,  11, 12, 13, 15,  16,
                          17, 31, 32, 33, 47, 48, 49, 63, 64, 65, 66, 127, 129};

void expectSame(const Volume<float>& image, const Volume<float>& kernel,
                const Volume<float>& weight) {
  for (const bool normalize : {false, true}) {
    SCOPED_TRACE(normalize ? "normalised" : "plain sum");
    Volume<float> wanted = image;
    reference::convolve3D(wanted, kernel, weight, normalize);
    forEachVariant([&](SimdVariant) {
      Volume<float> got = image;
      convolve3D(got, kernel, weight, normalize);
      EXPECT_TRUE(compare::same(got, wanted));
    });
  }
}

// Weights as the estimators have them, among them 0 (of either sign), negative and odd ones.
Volume<float> weights(glm::ivec3 dims, Random& random) {
  Volume<float> w(dims);
  const float values[] = {0.0f, -0.0f, 0.25f, 1.0f, 1.0f, -0.5f, 0.3f};
  for (int i = 0; i < w.size(); ++i) w.data()[i] = values[random.below(7)];
  return w;
}

TEST(WeightedConvolution, EqualsThePlainLoopForEverySize) {
  Random random(11);
  for (const glm::ivec3 dims : testSizes())
    for (const glm::ivec3 taps : {glm::ivec3(9, 9, 9), glm::ivec3(3, 5, 1), glm::ivec3(4, 2, 6)}) {
      SCOPED_TRACE(testing::Message() << dims.x << "x" << dims.y << "x" << dims.z << " by "
                                      << taps.x << "x" << taps.y << "x" << taps.z);
      expectSame(random.volume(dims, -3, 3), random.volume(taps, -1, 1), weights(dims, random));
    }
}

TEST(WeightedConvolution, EqualsThePlainLoopForEveryRowLength) {
  Random random(12);
  const Volume<float> kernel = createGaussianKernel3D<float>(
      glm::ivec3(9, 9, 9), glm::dvec3(1.5, 2.0, 3.0), glm::ivec3(0, 0, 0), false);
  for (const int nx : rowLengths) {
    SCOPED_TRACE(testing::Message() << "rows of " << nx);
    const glm::ivec3 dims(nx, 3, 5);
    expectSame(random.volume(dims, -3, 3), kernel, weights(dims, random));
  }
}

// Planes are summed a few at a time, and an image plane may count for some of these only.
TEST(WeightedConvolution, EqualsThePlainLoopForEveryNumberOfPlanes) {
  Random random(17);
  for (const int taps : {1, 2, 3, 5, 9, 12})
    for (int nz = 1; nz <= 11; ++nz) {
      SCOPED_TRACE(testing::Message() << nz << " planes, " << taps << " taps");
      const glm::ivec3 dims(9, 7, nz);
      expectSame(random.volume(dims, -3, 3), random.volume({3, 3, taps}, -1, 1),
                 weights(dims, random));
    }
}

TEST(WeightedConvolution, EqualsThePlainLoopForEveryNumberOfRows) {
  Random random(18);
  for (const int taps : {1, 2, 3, 4, 9, 12})
    for (const int ny : {1, 2, 3, 4, 5, 9, 13})
      for (const int nx : {3, 13, 32, 51}) {
        SCOPED_TRACE(testing::Message() << ny << " rows of " << nx << ", " << taps << " taps");
        const glm::ivec3 dims(nx, ny, 5);
        expectSame(random.volume(dims, -3, 3), random.volume({5, taps, 3}, -1, 1),
                   weights(dims, random));
      }
}

// What is in reach of a voxel makes it NaN, and nothing else does.
TEST(WeightedConvolution, OneOddVoxelReachesItsNeighboursOnly) {
  for (const glm::ivec3 dims : {glm::ivec3(13, 5, 10), glm::ivec3(32, 3, 7)})
    for (const float odd : {nan, inf})
      for (int z = 0; z < dims.z; ++z)
        for (const int x : {0, dims.x - 1}) {
          SCOPED_TRACE(testing::Message() << odd << " at " << x << ", " << z);
          Volume<float> image(dims, 1.0f);
          image.at(x, z % dims.y, z) = odd;
          expectSame(image, Volume<float>(3, 3, 5, -0.25f), Volume<float>(dims, 1.0f));
          expectSame(image, Volume<float>(3, 3, 3, 0.0f), Volume<float>(dims, 1.0f));
        }
}

TEST(WeightedConvolution, OddImageAndWeightValuesSpreadAsInThePlainLoop) {
  Random random(13);
  for (int round = 0; round < 4; ++round) {
    const glm::ivec3 dims(19, 6, 4);
    Volume<float> image = random.volume(dims, -3, 3), weight = weights(dims, random);
    sprinkleOddValues(image, random);
    if (round % 2) sprinkleOddValues(weight, random);
    expectSame(image, random.volume({5, 3, 3}, -1, 1), weight);
  }
}

TEST(WeightedConvolution, OddKernelValuesCountOnlyWhereTheirTapCounts) {
  Random random(14);
  for (const float odd : {nan, inf, -inf}) {
    Volume<float> kernel = random.volume({3, 3, 5}, 0, 1);
    kernel.at(0, 2, 4) = odd;
    expectSame(random.volume({9, 5, 6}, -3, 3), kernel, weights({9, 5, 6}, random));
  }
}

// A voxel of weight 0 is not looked at: what it holds does not matter.
TEST(WeightedConvolution, NaNOfWeightZeroIsSkipped) {
  Volume<float> image(20, 3, 3, 7.0f), weight(20, 3, 3, 1.0f);
  image.at(9, 1, 1) = nan;
  weight.at(9, 1, 1) = 0;
  const Volume<float> kernel(3, 3, 3, 1.0f);
  forEachVariant([&](SimdVariant) {
    Volume<float> got = image;
    convolve3D(got, kernel, weight, /*normalize=*/true);
    EXPECT_TRUE(compare::same(got, Volume<float>(20, 3, 3, 7.0f)));
  });
}

TEST(WeightedConvolution, AllZeroWeightsGiveAllZeros) {
  forEachVariant([&](SimdVariant) {
    Volume<float> image = Random(15).volume({17, 4, 3}, 1, 2);
    convolve3D(image, Volume<float>(9, 9, 9, 0.1f), Volume<float>(17, 4, 3, 0.0f), true);
    EXPECT_TRUE(compare::same(image, Volume<float>(17, 4, 3, 0.0f)));
  });
}

TEST(WeightedConvolution, AllZeroWeightsGiveAllZerosWhateverTheKernelHolds) {
  Random random(16);
  Volume<float> kernel(3, 3, 3, 0.5f);
  kernel.at(1, 1, 2) = inf;
  expectSame(random.volume({9, 5, 6}, -3, 3), kernel, Volume<float>(9, 5, 6, 0.0f));
}

TEST(WeightedConvolution, TheKernelIsAppliedAsStored) {
  Volume<float> kernel(3, 3, 3, 0.0f);
  kernel.at(2, 1, 0) = 1;  // the neighbour at x + 1, z - 1
  Volume<float> impulse(40, 3, 3, 0.0f);
  impulse.at(33, 1, 1) = 5;
  Volume<float> wanted(40, 3, 3, 0.0f);
  wanted.at(32, 1, 2) = 5;
  forEachVariant([&](SimdVariant) {
    Volume<float> got = impulse;
    convolve3D(got, kernel, Volume<float>(40, 3, 3, 1.0f), /*normalize=*/false);
    EXPECT_TRUE(compare::same(got, wanted));
  });
}

TEST(WeightedConvolution, AKernelWithoutTapsGivesAllZeros) {
  Random random(19);
  for (const glm::ivec3 taps : {glm::ivec3(0, 0, 0), glm::ivec3(3, 3, 0), glm::ivec3(0, 3, 3)})
    expectSame(random.volume({9, 5, 6}, -3, 3), Volume<float>(taps), weights({9, 5, 6}, random));
}

TEST(WeightedConvolution, EmptyVolumesStayEmpty) {
  Volume<float> image(0, 5, 5);
  convolve3D(image, Volume<float>(9, 9, 9, 0.1f), Volume<float>(0, 5, 5), true);
  EXPECT_EQ(image.dimensions(), glm::ivec3(0, 5, 5));
}

}  // namespace

}  // namespace mirel

#include "masspreserving/pyramid.h"

#include <gtest/gtest.h>

#include <limits>

#include "masspreserving/testdata.h"

namespace mirel {

namespace {

TEST(Pyramid, HalvesTheShorterVoxelsFirst) {
  const auto levels = makePyramid({90, 104, 20}, {1.0, 1.0, 3.0}, 12);
  ASSERT_GE(levels.size(), 3U);
  EXPECT_EQ(levels[0].voxels, glm::ivec3(90, 104, 20));
  EXPECT_EQ(levels[1].voxels, glm::ivec3(45, 52, 20));
  EXPECT_EQ(levels[1].halved, glm::ivec3(2, 2, 1));
  EXPECT_EQ(levels[2].voxels, glm::ivec3(23, 26, 20));
  EXPECT_EQ(levels[2].factor, glm::ivec3(4, 4, 1));
  EXPECT_EQ(levels[2].voxelMm, glm::dvec3(4.0, 4.0, 3.0));
}

TEST(Pyramid, OfASmallGridIsTheGridItself) {
  EXPECT_EQ(makePyramid({5, 7, 1}, glm::dvec3(2.0), 12).size(), 1U);
  EXPECT_EQ(makePyramid({1, 1, 1}, glm::dvec3(2.0), 12).size(), 1U);
}

TEST(Coarsen, WeighsOneThreeThreeOneAndContinuesTheEnds) {
  Volume<float> image(5, 1, 1);
  const float values[] = {8, 16, 40, 64, 24};
  image.copyData(values);
  const Volume<float> coarse = coarsen(image, {2, 1, 1});
  ASSERT_EQ(coarse.dimensions(), glm::ivec3(3, 1, 1));
  EXPECT_EQ(coarse.at(0, 0, 0), (8 + 3 * 8 + 3 * 16 + 40) / 8.0F);
  EXPECT_EQ(coarse.at(1, 0, 0), (16 + 3 * 40 + 3 * 64 + 24) / 8.0F);
  EXPECT_EQ(coarse.at(2, 0, 0), (64 + 3 * 24 + 3 * 24 + 24) / 8.0F);
}

TEST(Coarsen, DoesSoAlongEachAxisThatIsHalved) {
  const Volume<float> image = testdata::noise<float>({6, 7, 5}, 1.0, 1);
  EXPECT_EQ(coarsen(image, glm::ivec3(1)), image);
  const Volume<float> coarse = coarsen(image, {2, 1, 2});
  ASSERT_EQ(coarse.dimensions(), glm::ivec3(3, 7, 3));
  const float weights[] = {0.125F, 0.375F, 0.375F, 0.125F};
  float sum = 0.0F;
  for (int k = 0; k < 4; ++k)
    for (int i = 0; i < 4; ++i) sum += weights[i] * weights[k] * image.at(1 + i, 4, 1 + k);
  EXPECT_NEAR(coarse.at(1, 4, 1), sum, 1e-6);
}

TEST(Coarsen, KeepsConstantsAndSlopes) {
  EXPECT_EQ(coarsen(Volume<float>(5, 6, 1, 3.0F), glm::ivec3(2)), Volume<float>(3, 3, 1, 3.0F));
  Volume<float> slope(1, 12, 1);
  for (int y = 0; y < 12; ++y) slope.at(0, y, 0) = static_cast<float>(y);
  const Volume<float> coarse = coarsen(slope, {1, 2, 1});
  // The centre of coarse voxel y is at 2 y + 1/2.
  for (int y = 1; y + 1 < coarse.ny(); ++y) EXPECT_NEAR(coarse.at(0, y, 0), 2 * y + 0.5, 1e-6);
}

TEST(Coarsen, SuppressesWhatTheCoarseGridCannotHold) {
  Volume<float> image(1, 16, 1);
  for (int y = 0; y < 16; ++y) image.at(0, y, 0) = y % 2 == 0 ? 1.0F : -1.0F;
  const Volume<float> coarse = coarsen(image, {1, 2, 1});
  for (int y = 1; y + 1 < coarse.ny(); ++y) EXPECT_EQ(coarse.at(0, y, 0), 0.0F);
}

TEST(Coarsen, CountsValuesThatAreNotFiniteAsZero) {
  Volume<float> image(4, 1, 1, 8.0F), zero = image;
  image.at(1, 0, 0) = std::numeric_limits<float>::quiet_NaN();
  image.at(3, 0, 0) = -std::numeric_limits<float>::infinity();
  zero.at(1, 0, 0) = zero.at(3, 0, 0) = 0.0F;
  EXPECT_EQ(coarsen(image, {2, 1, 1}), coarsen(zero, {2, 1, 1}));
}

TEST(Prolong, KeepsALinearDisplacement) {
  // b = 0.1 edge + 0.2 x + 0.3 z in coarse voxels; a fine voxel is half as long.
  Volume<double> coarse(6, 5, 4);
  for (int z = 0; z < 4; ++z)
    for (int j = 0; j < 5; ++j)
      for (int x = 0; x < 6; ++x) coarse.at(x, j, z) = 0.1 * j + 0.2 * x + 0.3 * z;
  const Volume<double> fine = prolong(coarse, {12, 8, 8}, glm::ivec3(2));
  ASSERT_EQ(fine.dimensions(), glm::ivec3(12, 9, 8));
  for (int z = 1; z < 7; ++z)
    for (int j = 0; j < 9; ++j)
      for (int x = 1; x < 11; ++x)
        EXPECT_NEAR(fine.at(x, j, z),
                    2.0 * (0.05 * j + 0.2 * (0.5 * x - 0.25) + 0.3 * (0.5 * z - 0.25)), 1e-12);
}

TEST(Prolong, KeepsAxesThatWereNotHalved) {
  const Volume<double> coarse = testdata::noise<double>({4, 5, 3}, 1.0, 1);
  EXPECT_EQ(prolong(coarse, {4, 4, 3}, glm::ivec3(1)), coarse);
}

TEST(EdgesToVoxels, ReproducesCubicsInside) {
  Volume<double> edges(1, 9, 1);
  const auto cubic = [](double p) { return 0.001 * p * p * p - 0.01 * p * p + 0.02 * p; };
  for (int j = 0; j < 9; ++j) edges.at(0, j, 0) = cubic(j);
  const Volume<float> voxels = edgesToVoxels(edges, 0.98);
  for (int y = 1; y < 7; ++y) EXPECT_NEAR(voxels.at(0, y, 0), cubic(y + 0.5), 1e-6);
  EXPECT_NEAR(voxels.at(0, 0, 0), 0.5 * (cubic(0) + cubic(1)), 1e-6);
}

TEST(EdgesToVoxels, NeverStepsFurtherThanTheEdges) {
  // Steps of -0.97, 0.97, -0.97: the cubic interpolation would overshoot.
  Volume<double> edges(1, 12, 1, 0.0);
  for (int j = 0; j < 12; ++j)
    edges.at(0, j, 0) = (j / 3) % 2 == 0 ? 0.97 * (j % 3) : 0.97 * (3 - j % 3);
  const Volume<float> voxels = edgesToVoxels(edges, 0.98);
  EXPECT_LT(testdata::largestStep(voxels), 0.98);
}

TEST(VoxelsToEdges, AreMeansOfNeighboursAndConstantAtTheEnds) {
  Volume<float> voxels(2, 3, 1);
  const float values[] = {1, 10, 2, 20, 5, 50};
  voxels.copyData(values);
  const Volume<float> edges = voxelsToEdges(voxels);
  ASSERT_EQ(edges.dimensions(), glm::ivec3(2, 4, 1));
  const float expected[] = {1, 10, 1.5F, 15, 3.5F, 35, 5, 50};
  for (int i = 0; i < edges.size(); ++i) EXPECT_EQ(edges.data()[i], expected[i]) << i;
}

TEST(VoxelsToEdges, TakeSingleVoxelsAndStepNoFartherThanThem) {
  EXPECT_EQ(voxelsToEdges(Volume<float>(3, 1, 2, 4.0F)), Volume<float>(3, 2, 2, 4.0F));
  const Volume<float> voxels = testdata::noise<float>({4, 20, 3}, 1.0, 1);
  EXPECT_LE(testdata::largestStep(voxelsToEdges(voxels)), testdata::largestStep(voxels));
}

TEST(LimitStretch, TakesValuesAsFarTowardsThemAsTheyMayGo) {
  Volume<float> voxels(1, 6, 1);
  const float values[] = {0, 0.25F, 3, 1.5F, -4, -3.75F};
  voxels.copyData(values);
  limitStretch(voxels, 0.5F);
  const float expected[] = {0, 0.25F, 0.75F, 1.25F, 0.75F, 0.25F};
  for (int y = 0; y < 6; ++y) EXPECT_EQ(voxels.at(0, y, 0), expected[y]) << y;
}

TEST(LimitStretch, LeavesWhatIsWithinIt) {
  Volume<float> voxels = testdata::noise<float>({5, 9, 4}, 0.1, 1);
  const Volume<float> kept = voxels;
  limitStretch(voxels, 0.98F);
  EXPECT_EQ(voxels, kept);
  Volume<float> wild = testdata::noise<float>({5, 9, 4}, 30.0, 2);
  limitStretch(wild, 0.98F);
  EXPECT_LT(testdata::largestStep(wild), 0.98 + 1e-5);
}

}  // namespace

}  // namespace mirel

#include "masspreserving/pyramid.h"

#include <gtest/gtest.h>

#include "masspreserving/testdata.h"

namespace {

TEST(Pyramid, halvesTheShorterVoxelsFirst) {
  const auto levels = makePyramid({90, 104, 20}, {1.0, 1.0, 3.0}, 12);
  ASSERT_GE(levels.size(), 3U);
  EXPECT_EQ(levels[0].voxels, glm::ivec3(90, 104, 20));
  EXPECT_EQ(levels[1].voxels, glm::ivec3(45, 52, 20));
  EXPECT_EQ(levels[1].halved, glm::ivec3(2, 2, 1));
  EXPECT_EQ(levels[2].voxels, glm::ivec3(23, 26, 20));
  EXPECT_EQ(levels[2].factor, glm::ivec3(4, 4, 1));
  EXPECT_EQ(levels[2].voxelMm, glm::dvec3(4.0, 4.0, 3.0));
}

TEST(Pyramid, ofASmallGridIsTheGridItself) {
  EXPECT_EQ(makePyramid({5, 7, 1}, glm::dvec3(2.0), 12).size(), 1U);
  EXPECT_EQ(makePyramid({1, 1, 1}, glm::dvec3(2.0), 12).size(), 1U);
}

TEST(Coarsen, takesMeansAndRepeatsTheLastVoxel) {
  Volume<float> image(3, 2, 1);
  const float values[] = {1, 3, 10, 5, 7, 20};
  image.copyData(values);
  const Volume<float> coarse = coarsen(image, {2, 2, 1});
  EXPECT_EQ(coarse.dimensions(), glm::ivec3(2, 1, 1));
  EXPECT_EQ(coarse.at(0, 0, 0), 4.0F);
  EXPECT_EQ(coarse.at(1, 0, 0), 15.0F);
}

TEST(Prolong, keepsALinearDisplacement) {
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

TEST(Prolong, keepsAxesThatWereNotHalved) {
  const Volume<double> coarse = testdata::noise<double>({4, 5, 3}, 1.0, 1);
  EXPECT_EQ(prolong(coarse, {4, 4, 3}, glm::ivec3(1)), coarse);
}

TEST(EdgesToVoxels, reproducesCubicsInside) {
  Volume<double> edges(1, 9, 1);
  const auto cubic = [](double p) { return 0.001 * p * p * p - 0.01 * p * p + 0.02 * p; };
  for (int j = 0; j < 9; ++j) edges.at(0, j, 0) = cubic(j);
  const Volume<float> voxels = edgesToVoxels(edges, 0.98);
  for (int y = 1; y < 7; ++y) EXPECT_NEAR(voxels.at(0, y, 0), cubic(y + 0.5), 1e-6);
  EXPECT_NEAR(voxels.at(0, 0, 0), 0.5 * (cubic(0) + cubic(1)), 1e-6);
}

TEST(EdgesToVoxels, neverStepsFurtherThanTheEdges) {
  // Steps of -0.97, 0.97, -0.97: the cubic interpolation would overshoot.
  Volume<double> edges(1, 12, 1, 0.0);
  for (int j = 0; j < 12; ++j)
    edges.at(0, j, 0) = (j / 3) % 2 == 0 ? 0.97 * (j % 3) : 0.97 * (3 - j % 3);
  const Volume<float> voxels = edgesToVoxels(edges, 0.98);
  EXPECT_LT(testdata::largestStep(voxels), 0.98);
}

}  // namespace

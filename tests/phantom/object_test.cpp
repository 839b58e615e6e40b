#include "phantom/object.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "phantom/anatomy.h"

namespace mirel {

namespace {

TEST(Anatomy, HasTheTissuesWhereAHeadHasThem) {
  const Anatomy anatomy(1);
  EXPECT_EQ(anatomy.tissueAt({107, 124, 71}), Tissue::outside);
  EXPECT_EQ(anatomy.tissueAt({0, -4, 64}), Tissue::scalp);
  EXPECT_EQ(anatomy.tissueAt({0, -4, 57}), Tissue::bone);
  EXPECT_EQ(anatomy.tissueAt({0, -4, 51}), Tissue::csf);
  EXPECT_EQ(anatomy.tissueAt({8, -6, 14}), Tissue::csf);     // lateral ventricle
  EXPECT_EQ(anatomy.tissueAt({-11, -14, 1}), Tissue::grey);  // thalamus
  EXPECT_EQ(anatomy.tissueAt({0, 58, -37}), Tissue::cavity);
  EXPECT_EQ(anatomy.tissueAt({70, -8, -47}), Tissue::cavity);
  EXPECT_EQ(anatomy.tissueAt({32, 76, -33}), Tissue::eye);
}

TEST(Anatomy, ChangesItsFoldsOnlyWithTheSeed) {
  const Anatomy one(1), two(2);
  int differences = 0;
  for (double z = -70; z < 72; z += 7)
    for (double y = -124; y < 124; y += 3)
      for (double x = -107; x < 107; x += 3) {
        const glm::dvec3 p(x, y, z);
        EXPECT_EQ(one.coarseTissueAt(p), two.coarseTissueAt(p));
        differences += one.tissueAt(p) != two.tissueAt(p);
      }
  EXPECT_GT(differences, 1000);
}

TEST(PhantomGrid, PositionsAndVoxelsAreInverse) {
  const PhantomGrid grid{{9, 10, 4}, {2.0, 3.0, 5.0}};
  EXPECT_EQ(grid.positionMm({4, 4.5, 1.5}), glm::dvec3(0));
  EXPECT_EQ(grid.positionMm({0, 0, 0}), glm::dvec3(-8, -13.5, -7.5));
  EXPECT_EQ(grid.voxelAt({-8, -13.5, -7.5}), glm::dvec3(0));
}

TEST(SampleHead, HoldsTheWholeHeadOnAnyGrid) {
  for (const glm::ivec3 size :
       {glm::ivec3(8, 8, 4), glm::ivec3(17, 23, 9), glm::ivec3(40, 12, 5), glm::ivec3(9, 31, 22)}) {
    const HeadObject head = sampleHead({size, {3.0, 2.0, 5.5}}, 1);
    ASSERT_EQ(head.image.dimensions(), size);
    ASSERT_EQ(head.density.dimensions(), glm::ivec3(3 * size.x, 3 * size.y, size.z));
    int inHead = 0, inBrain = 0;
    for (int i = 0; i < head.image.size(); ++i) {
      EXPECT_GE(head.image.data()[i], 0.0F);
      EXPECT_LE(head.brainMask.data()[i], head.headMask.data()[i]);
      inHead += head.headMask.data()[i];
      inBrain += head.brainMask.data()[i];
    }
    const double share = static_cast<double>(inHead) / head.image.size();
    // Two voxels on each side in plane are left free, but at most half of the grid.
    const auto used = [](int n) { return std::max(n - 4.0, n / 2.0) / n; };
    EXPECT_GT(share, 0.25 * used(size.x) * used(size.y)) << size.x;
    EXPECT_LT(share, 0.65) << size.x;
    EXPECT_GT(inBrain, 0.3 * inHead) << size.x;
    // Nothing of the head at the sides, in front and behind.
    for (int z = 0; z < size.z; ++z)
      for (int y = 0; y < size.y; ++y) {
        EXPECT_EQ(head.headMask.at(0, y, z), 0);
        EXPECT_EQ(head.headMask.at(size.x - 1, y, z), 0);
      }
  }
}

TEST(SampleHead, ImageIsTheMeanOfTheDensity) {
  const HeadObject head = sampleHead({{12, 14, 6}, glm::dvec3(18.0)}, 1);
  double cells = 0.0, voxels = 0.0;
  for (int i = 0; i < head.density.size(); ++i) cells += head.density.data()[i];
  for (int i = 0; i < head.image.size(); ++i) voxels += head.image.data()[i];
  EXPECT_NEAR(cells / 9.0 / voxels, 1.0, 1e-6);
}

TEST(SampleHead, MovesByWholeVoxelsAsTheMotionSays) {
  const PhantomGrid grid{{24, 28, 16}, glm::dvec3(9.0)};
  RigidMotion motion;
  motion.translationMm = {9.0, -18.0, 9.0};
  const HeadObject still = sampleHead(grid, 1), moved = sampleHead(grid, 1, motion);
  for (int z = 1; z < 16; ++z)
    for (int y = 3; y < 23; ++y)
      for (int x = 4; x < 20; ++x)
        EXPECT_NEAR(moved.image.at(x, y, z), still.image.at(x - 1, y + 2, z - 1), 0.02F)
            << x << " " << y << " " << z;
}

TEST(SampleHead, RefusesImpossibleGrids) {
  EXPECT_THROW(sampleHead({{0, 8, 8}, glm::dvec3(1.0)}, 1), std::invalid_argument);
  EXPECT_THROW(sampleHead({{8, -3, 8}, glm::dvec3(1.0)}, 1), std::invalid_argument);
  EXPECT_THROW(sampleHead({{8, 8, 8}, {1.0, 0.0, 1.0}}, 1), std::invalid_argument);
  EXPECT_THROW(sampleHead({{8, 8, 8}, glm::dvec3(std::numeric_limits<double>::quiet_NaN())}, 1),
               std::invalid_argument);
  EXPECT_ANY_THROW(sampleHead({{3000, 3000, 3000}, glm::dvec3(1.0)}, 1));
}

TEST(SampleSusceptibility, ContinuesTheHeadBeyondTheGrid) {
  const PhantomGrid grid{{18, 20, 12}, glm::dvec3(12.0)};
  const Volume<double> chi = sampleSusceptibility(grid, {4, 5, 6}, 1);
  ASSERT_EQ(chi.dimensions(), glm::ivec3(26, 30, 24));
  EXPECT_EQ(chi.at(0, 0, 0), 0.0);
  EXPECT_LT(chi.at(13, 14, 12), -8.0);  // brain
  EXPECT_LT(chi.at(13, 13, 4), -4.0);   // neck, two slices below the grid
  EXPECT_EQ(chi.at(13, 15, 20), 0.0);   // above the head
}

}  // namespace

}  // namespace mirel

#include "masspreserving/localbending.h"

#include <gtest/gtest.h>

#include <cmath>

#include "masspreserving/testdata.h"

namespace mirel {

namespace {

const glm::ivec3 tissueGrid(30, 32, 28);
const glm::dvec3 tissueSpacing(2.0, 3.0, 4.0);

// A box with signal, 5 voxels from the border of the grid.
Volume<float> box(float signal) {
  Volume<float> mean(tissueGrid, 0.0F);
  for (int z = 5; z < tissueGrid.z - 5; ++z)
    for (int y = 5; y < tissueGrid.y - 5; ++y)
      for (int x = 5; x < tissueGrid.x - 5; ++x) mean.at(x, y, z) = signal;
  return mean;
}

// Bends a little everywhere, and strongly at a place.
Volume<float> bentAt(glm::ivec3 place) {
  Volume<float> b = testdata::noise<float>(tissueGrid + glm::ivec3(0, 1, 0), 0.01, 3);
  b[place] += 1.0F;
  return b;
}

TEST(ExponentialSmoothing, KeepsConstantsAndIsSymmetric) {
  Volume<float> same(tissueGrid, 3.0F);
  smoothExponentially(same, 5.0, tissueSpacing);
  for (int i = 0; i < same.size(); ++i) ASSERT_EQ(same.data()[i], 3.0F);
  Volume<float> point(tissueGrid, 0.0F);
  point.at(15, 16, 14) = 1.0F;
  smoothExponentially(point, 5.0, tissueSpacing);
  for (const glm::ivec3 step : {glm::ivec3(1, 0, 0), glm::ivec3(0, 1, 0), glm::ivec3(0, 0, 1)}) {
    const glm::ivec3 middle(15, 16, 14);
    const double h = glm::dot(glm::dvec3(step), tissueSpacing);
    EXPECT_NEAR(point[middle + step] / point[middle - step], 1.0, 1e-4);
    EXPECT_NEAR(point[middle + step] / point[middle], std::exp(-h / 5.0), 1e-4);
  }
}

TEST(LocalBending, IsTheSameEverywhereWithoutSignal) {
  const LocalBending none(Volume<float>(tissueGrid, 0.0F), {}, tissueSpacing, {});
  for (int i = 0; i < none.factors()->size(); ++i) ASSERT_EQ(none.factors()->data()[i], 1.0F);
}

TEST(LocalBending, GrowsWithTheDistanceFromWhereThereIsNoSignal) {
  const LocalBending of(box(1.0F), {}, tissueSpacing, {});
  const Volume<float>& factors = *of.factors();
  ASSERT_EQ(factors.dimensions(), tissueGrid + glm::ivec3(0, 1, 0));
  for (int x = 1; x <= 15; ++x) EXPECT_GT(factors.at(x, 16, 14), factors.at(x - 1, 16, 14)) << x;
  EXPECT_LT(factors.at(0, 0, 0), 1.1F);
  EXPECT_GT(factors.at(15, 16, 14), 3.0F);
  const LocalBending filled(Volume<float>(tissueGrid, 1.0F), {}, tissueSpacing, {});
  EXPECT_NEAR(filled.factors()->at(0, 0, 0), 10.0F, 0.5F) << "signal goes on beyond the grid";
}

TEST(LocalBending, HardlyDependsOnHowBrightTissueIs) {
  const LocalBending one(box(1.0F), {}, tissueSpacing, {}), other(box(0.6F), {}, tissueSpacing, {});
  EXPECT_NEAR(one.factors()->at(15, 16, 14), other.factors()->at(15, 16, 14), 1.0F);
  const LocalBending air(box(0.05F), {}, tissueSpacing, {});
  EXPECT_NEAR(air.factors()->at(15, 16, 14), 1.0F, 0.01F);
}

TEST(LocalBending, TakesWhatDoesNotCountForNoTissue) {
  Volume<float> weights(tissueGrid, 1.0F);
  for (int z = 0; z < tissueGrid.z / 2; ++z)
    for (int y = 0; y < tissueGrid.y; ++y)
      for (int x = 0; x < tissueGrid.x; ++x) weights.at(x, y, z) = 0.0F;
  const LocalBending half(Volume<float>(tissueGrid, 1.0F), weights, tissueSpacing, {});
  EXPECT_LT(half.factors()->at(15, 16, 3), 1.5F);
  EXPECT_GT(half.factors()->at(15, 16, 25), 5.0F);
}

TEST(LocalBending, LetsTheFieldBendWhereItDoes) {
  const glm::ivec3 place(15, 16, 14), elsewhere(7, 8, 21);
  LocalBending of(box(1.0F), {}, tissueSpacing, {});
  const Volume<float> before = *of.factors();
  of.adapt(bentAt(place));
  const Volume<float>& after = *of.factors();
  EXPECT_LT(after[place], 0.1F * before[place]);
  EXPECT_GT(after[elsewhere], before[elsewhere]);
  EXPECT_LE(after[elsewhere], 2.0F * before[elsewhere]);
  // Whatever the field's unit, and however often.
  LocalBending scaled(box(1.0F), {}, tissueSpacing, {});
  scaled.adapt(testdata::noise<float>(tissueGrid + glm::ivec3(0, 1, 0), 1.0, 9));
  scaled.adapt(bentAt(place) * 8.0F);
  EXPECT_EQ(*scaled.factors(), after);
}

TEST(LocalBending, StaysAsItIsWhereNothingBends) {
  LocalBending of(box(1.0F), {}, tissueSpacing, {});
  const Volume<float> before = *of.factors();
  of.adapt(Volume<float>(tissueGrid + glm::ivec3(0, 1, 0), 2.5F));
  EXPECT_EQ(*of.factors(), before);
}

}  // namespace

}  // namespace mirel

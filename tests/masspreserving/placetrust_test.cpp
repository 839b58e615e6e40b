#include "masspreserving/placetrust.h"

#include <gtest/gtest.h>

#include "masspreserving/testdata.h"

namespace mirel {

namespace {

const glm::ivec3 size(40, 36, 32);
const Volume<float> signal(size, 2.0F);
const CoarseGrid nodes(size, 1.0 / glm::dvec3(size), {11, 10, 9});

// Noise, times a factor in a corner of the volume.
Volume<float> residualsWith(float factor) {
  Volume<float> r = testdata::noise<float>(size, 1.0, 7);
  for (int z = 0; z < 10; ++z)
    for (int y = 0; y < 10; ++y)
      for (int x = 0; x < 10; ++x) r.at(x, y, z) *= factor;
  return r;
}

TEST(PlaceTrust, OfNoiseIsWhole) {
  const PlaceTrust trust(residualsWith(1.0F), signal, signal, nodes);
  EXPECT_TRUE(trust.isWhole());
  EXPECT_EQ(trust.shareOut(), 0.0);
  EXPECT_EQ(trust.at(nodes, size), Volume<float>(size, 1.0F));
}

TEST(PlaceTrust, OfNoiseThatVariesWithPlaceIsWhole) {
  Volume<float> r = residualsWith(1.0F);
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x)
        r.at(x, y, z) *= 1.0F + 2.0F * static_cast<float>(x) / static_cast<float>(size.x);
  EXPECT_TRUE(PlaceTrust(r, signal, signal, nodes).isWhole());
}

TEST(PlaceTrust, IsLittleWhereResidualsStandFarOut) {
  const PlaceTrust trust(residualsWith(10.0F), signal, signal, nodes);
  // The corner and the cells of nodes about it.
  EXPECT_GT(trust.shareOut(), 0.02);
  EXPECT_LT(trust.shareOut(), 0.07);
  const Volume<float> at = trust.at(nodes, size);
  EXPECT_LT(at.at(3, 3, 3), 0.1F);
  EXPECT_EQ(at.at(30, 30, 25), 1.0F);
  EXPECT_EQ(at.at(5, 30, 5), 1.0F);
}

TEST(PlaceTrust, HasNothingAgainstResidualsWithoutSignal) {
  Volume<float> s = signal;
  for (int z = 0; z < 14; ++z)
    for (int y = 0; y < 14; ++y)
      for (int x = 0; x < 14; ++x) s.at(x, y, z) = 0.0F;
  EXPECT_TRUE(PlaceTrust(residualsWith(10.0F), s, s, nodes).isWhole());
}

TEST(PlaceTrust, OfNothingIsWhole) {
  const Volume<float> none(size, 0.0F);
  EXPECT_TRUE(PlaceTrust(none, signal, signal, nodes).isWhole());
  EXPECT_TRUE(PlaceTrust(residualsWith(10.0F), none, none, nodes).isWhole());
}

}  // namespace

}  // namespace mirel

#include "numerics/difference.h"

#include <gtest/gtest.h>

#include "support/random_volume.h"

namespace mirel {

TEST(SlopeAlong, IsExactOnALineUpToTheBorders) {
  for (int axis = 0; axis < 3; ++axis) {
    Volume<float> line(4, 5, 6);
    for (int z = 0; z < 6; ++z)
      for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 4; ++x)
          line.at(x, y, z) = 3.0f - 1.5f * static_cast<float>(glm::ivec3(x, y, z)[axis]);
    EXPECT_TRUE(slopeAlong(line, axis) == Volume<float>(4, 5, 6, -1.5f)) << axis;
    EXPECT_TRUE(slopeAlong(line, axis, 0.5) == Volume<float>(4, 5, 6, -3.0f)) << axis;
    EXPECT_TRUE(slopeAlong(line, (axis + 1) % 3) == Volume<float>(4, 5, 6, 0.0f)) << axis;
  }
}

TEST(SlopeAlong, HasTheBitsOfSinglePrecisionPerVoxel) {
  Random random(3);
  const Volume<float> v = random.volume({3, 40, 5}, -1e3f, 1e-3f);
  const Volume<float> slope = slopeAlong(v, 1);
  for (int z = 0; z < 5; ++z)
    for (int y = 0; y < 40; ++y)
      for (int x = 0; x < 3; ++x) {
        const int low = y > 0 ? y - 1 : 0, high = y < 39 ? y + 1 : 39;
        EXPECT_EQ(slope.at(x, y, z),
                  (v.at(x, high, z) - v.at(x, low, z)) / static_cast<float>(high - low));
      }
}

TEST(SlopeAlong, IsZeroAlongAnAxisOfOneElement) {
  for (int axis = 0; axis < 3; ++axis) {
    glm::ivec3 dims(3, 3, 3);
    dims[axis] = 1;
    EXPECT_TRUE(slopeAlong(Volume<float>(dims, 9.0f), axis) == Volume<float>(dims, 0.0f));
  }
  EXPECT_EQ(slopeAlong(Volume<float>(3, 0, 2), 1).dimensions(), glm::ivec3(3, 0, 2));
}

}  // namespace mirel

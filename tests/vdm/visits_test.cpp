#include "vdm/visits.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "containers/volume.h"
#include "support/random_volume.h"

namespace {

// The definition: a visit covers its whole window at once.
TEST(Visits, EveryVoxelIsAskedOnceAndToldWhetherAnEarlierVisitCoveredIt) {
  Random random(41);
  for (const glm::ivec3 dims : testSizes())
    for (const glm::ivec3 window : {glm::ivec3(1, 1, 1), glm::ivec3(3, 3, 3), glm::ivec3(5, 3, 7),
                                    glm::ivec3(1, 5, 1), glm::ivec3(9, 1, 1)}) {
      const glm::ivec3 half = window / 2;
      Visits visits(dims, window);
      Volume<unsigned char> covered(dims, 0);
      for (int z = 0; z < dims.z; ++z)
        for (int y = 0; y < dims.y; ++y) {
          std::vector<unsigned char> expected;
          const auto isForeground = [&](int x, bool isCovered) {
            EXPECT_EQ(x, static_cast<int>(expected.size()));
            EXPECT_EQ(isCovered, covered.at(x, y, z) != 0) << x << " " << y << " " << z;
            // Sparse where uncovered, frequent where covered.
            const bool visit = random.below(isCovered ? 3 : 12) == 0;
            expected.push_back(visit);
            if (!visit) return false;
            for (int w = std::max(0, z - half.z); w <= std::min(dims.z - 1, z + half.z); ++w)
              for (int v = std::max(0, y - half.y); v <= std::min(dims.y - 1, y + half.y); ++v)
                for (int u = std::max(0, x - half.x); u <= std::min(dims.x - 1, x + half.x); ++u)
                  covered.at(u, v, w) = 1;
            return true;
          };
          const std::vector<unsigned char> visited = visits.visitRow(y, z, isForeground);
          EXPECT_EQ(visited, expected);
        }
    }
}

}  // namespace

#include "vdm/visits.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "containers/volume.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

// The definition: a visit covers its whole window at once, and a voxel is judged by what it shows
// then.
TEST(Visits, EveryVoxelIsJudgedByWhetherAnEarlierVisitCoveredIt) {
  Random random(41);
  for (const glm::ivec3 dims : testSizes())
    for (const glm::ivec3 window : {glm::ivec3(1, 1, 1), glm::ivec3(3, 3, 3), glm::ivec3(5, 3, 7),
                                    glm::ivec3(1, 5, 1), glm::ivec3(9, 1, 1)}) {
      const glm::ivec3 half = window / 2;
      Visits visits(dims, window);
      Volume<unsigned char> covered(dims, 0);
      const auto visit = [&](int x, int y, int z) {
        for (int w = std::max(0, z - half.z); w <= std::min(dims.z - 1, z + half.z); ++w)
          for (int v = std::max(0, y - half.y); v <= std::min(dims.y - 1, y + half.y); ++v)
            for (int u = std::max(0, x - half.x); u <= std::min(dims.x - 1, x + half.x); ++u)
              covered.at(u, v, w) = 1;
      };
      for (int z = 0; z < dims.z; ++z)
        for (int y = 0; y < dims.y; ++y) {
          // Sparse where uncovered, frequent where covered.
          std::vector<unsigned char> atStart, onceVisited, expected;
          for (int x = 0; x < dims.x; ++x) {
            atStart.push_back(random.below(12) == 0);
            onceVisited.push_back(random.below(3) == 0);
          }
          for (std::size_t x = 0; x < atStart.size(); ++x) {
            const int column = static_cast<int>(x);
            expected.push_back(covered.at(column, y, z) ? onceVisited[x] : atStart[x]);
            if (expected.back()) visit(column, y, z);
          }
          EXPECT_EQ(visits.visitRow(y, z, atStart.data(), onceVisited.data()), expected)
              << "row " << y << " of slice " << z;
        }
    }
}

}  // namespace

}  // namespace mirel

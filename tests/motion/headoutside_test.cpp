#include "motion/headoutside.h"

#include <gtest/gtest.h>

#include <glm/gtc/matrix_transform.hpp>

namespace mirel {

// Of eight slices of head, all of the grid, the last two lie beyond it in volume 1.
TEST(HeadOutside, CountsWhatNoSliceShowed) {
  const Grid grid{{4, 4, 8}, glm::scale(glm::dmat4(1.0), glm::dvec3(3))};
  const Volume<unsigned char> head(grid.dims, 1);
  SeriesMotion motion;
  for (const double slices : {0.0, 2.0, -1.4})
    motion.fromReference.push_back(glm::translate(glm::dmat4(1.0), glm::dvec3(0, 0, 3 * slices)));
  const HeadOutside found = headOutside(head, motion, grid, 1);
  EXPECT_EQ(found.volume, 1);
  EXPECT_DOUBLE_EQ(found.part, 2.0 / 8);
  // Along the encoded axis the field of view is another matter: signal folds or fades there.
  EXPECT_EQ(headOutside(head, motion, grid, 2).part, 0);
}

}  // namespace mirel

#include "motion/seriesmotion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <glm/geometric.hpp>
#include <glm/gtc/matrix_transform.hpp>

namespace mirel {

TEST(SeriesMotion, GradientsTurnBackWithTheHead) {
  // The head turns by 90 degrees from x to y, which no reader would let pass.
  SeriesMotion motion;
  motion.fromReference = {glm::dmat4(1.0),
                          glm::rotate(glm::dmat4(1.0), std::acos(0.0), glm::dvec3(0, 0, 1))};
  // Of a grid whose determinant is positive, x of .bvec runs to the left.
  const auto turned = directionsInHead({{1, 0, 0}, {-1, 0, 0}}, motion,
                                       glm::scale(glm::dmat4(1.0), glm::dvec3(20)));
  EXPECT_LT(glm::length(turned[0] - glm::vec3(1, 0, 0)), 1e-6f);
  // A gradient to the right lies, seen from a head turned to its left, to the head's back.
  EXPECT_LT(glm::length(turned[1] - glm::vec3(0, -1, 0)), 1e-6f);
}

}  // namespace mirel

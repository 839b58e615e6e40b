#include "motion/motionbetween.h"

#include <gtest/gtest.h>

#include <cmath>
#include <glm/geometric.hpp>
#include <glm/gtc/matrix_transform.hpp>

namespace mirel {

namespace {

const glm::dvec3 middle(10, -20, 30);

glm::dvec3 at(const glm::dmat4& m, const glm::dvec3& p) {
  return glm::dvec3(m * glm::dvec4(p, 1.0));
}

}  // namespace

TEST(MotionBetween, GoesSteadilyFromOneToTheNext) {
  // About the middle by 0.2 rad, and 4 mm up.
  glm::dmat4 turned = glm::translate(glm::dmat4(1.0), middle + glm::dvec3(0, 0, 4));
  turned = glm::rotate(turned, 0.2, glm::dvec3(0, 0, 1));
  turned = glm::translate(turned, -middle);
  const auto motions = motionsBetween(7, {{1, glm::dmat4(1.0)}, {5, turned}}, middle);
  ASSERT_EQ(motions.size(), 7U);
  EXPECT_EQ(motions[0], glm::dmat4(1.0));
  EXPECT_EQ(motions[1], glm::dmat4(1.0));
  EXPECT_EQ(motions[5], turned);
  EXPECT_EQ(motions[6], turned);
  EXPECT_LT(glm::length(at(motions[2], middle) - middle - glm::dvec3(0, 0, 1)), 1e-12);
  const glm::dvec3 half = at(motions[3], middle + glm::dvec3(50, 0, 0)) - middle;
  EXPECT_LT(glm::length(half - glm::dvec3(50 * std::cos(0.1), 50 * std::sin(0.1), 2)), 1e-9);
}

TEST(MotionBetween, AHeadThatKeepsStillStaysWhereItIsToTheLastBit) {
  glm::dmat4 moved = glm::rotate(glm::dmat4(1.0), 0.123, glm::dvec3(1, 2, 3));
  for (const glm::dmat4& m : motionsBetween(5, {{0, moved}, {4, moved}}, middle))
    EXPECT_EQ(m, moved);
  for (const glm::dmat4& m : motionsBetween(3, {}, middle)) EXPECT_EQ(m, glm::dmat4(1.0));
}

}  // namespace mirel

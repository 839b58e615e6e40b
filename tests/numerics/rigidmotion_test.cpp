#include "numerics/rigidmotion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <glm/geometric.hpp>
#include <glm/trigonometric.hpp>
#include <utility>
#include <vector>

namespace mirel {

namespace {

// Small, ordinary and large motions, with the second angle on both sides of a right one too.
const std::vector<RigidMotion>& motions() {
  static const std::vector<RigidMotion> list = {
      {},
      {{2.0, -1.0, 0.5}, {0.0, 0.0, 0.0}},
      {{0.0, 0.0, 0.0}, {1e-9, -2e-9, 3e-9}},
      {{0.3, 4.0, -7.0}, {2.0, -1.0, 3.0}},
      {{-10.0, 20.0, 30.0}, {40.0, -60.0, 75.0}},
      {{5.0, 0.0, 0.0}, {-170.0, 20.0, 10.0}},
      {{1.0, 2.0, 3.0}, {30.0, 89.9, 20.0}},
      {{1.0, 2.0, 3.0}, {30.0, 90.0, 20.0}},
      {{1.0, 2.0, 3.0}, {30.0, -90.0, 20.0}},
  };
  return list;
}

const std::vector<glm::dvec3> places = {
    {0.0, 0.0, 0.0}, {100.0, 0.0, 0.0}, {0.0, 100.0, 0.0}, {0.0, 0.0, 100.0}, {-30.0, 50.0, 70.0}};

// The farthest that two mappings of the places lie apart.
template <typename One, typename Other>
double farthest(const One& one, const Other& other) {
  double largest = 0.0;
  for (const glm::dvec3& p : places) largest = std::max(largest, glm::distance(one(p), other(p)));
  return largest;
}

glm::dvec3 exchanged(glm::dvec3 p, int axis, int other) {
  std::swap(p[axis], p[other]);
  return p;
}

TEST(RigidMotion, isARotationAboutTheMiddleAndAShift) {
  RigidMotion motion;
  EXPECT_TRUE(motion.isNone());
  motion.rotationDegrees = {0, 0, 90};
  motion.translationMm = {1, 2, 3};
  EXPECT_FALSE(motion.isNone());
  // x turns to y.
  const glm::dvec3 now = motion.after({5, 0, 0});
  EXPECT_NEAR(glm::distance(now, glm::dvec3(1, 7, 3)), 0.0, 1e-12);
  EXPECT_NEAR(glm::distance(motion.before(now), glm::dvec3(5, 0, 0)), 0.0, 1e-12);
  // First about x, then y, then z.
  motion.rotationDegrees = {90, 90, 0};
  motion.translationMm = glm::dvec3(0);
  const glm::dvec3 turned = motion.after({0, 1, 0});  // y -> z -> x
  EXPECT_NEAR(glm::distance(turned, glm::dvec3(1, 0, 0)), 0.0, 1e-12);
}

TEST(RigidMotion, beforeIsTheWayBack) {
  for (const RigidMotion& motion : motions())
    EXPECT_LT(
        farthest([&](glm::dvec3 p) { return motion.before(motion.after(p)); }, std::identity()),
        1e-12);
}

TEST(RigidMotion, inverseLeadsBack) {
  for (const RigidMotion& motion : motions()) {
    const RigidMotion back = motion.inverse();
    EXPECT_LT(farthest([&](glm::dvec3 p) { return back.after(motion.after(p)); }, std::identity()),
              1e-5);
    EXPECT_LT(farthest([&](glm::dvec3 p) { return back.inverse().after(p); },
                       [&](glm::dvec3 p) { return motion.after(p); }),
              1e-5)
        << motion.rotationDegrees.y;
  }
}

TEST(RigidMotion, anglesSurviveTheMatrix) {
  for (const RigidMotion& motion : motions()) {
    if (std::abs(motion.rotationDegrees.y) == 90.0) continue;  // x and z are then one angle
    const RigidMotion same = motion.followedBy(glm::dvec3(0.0), glm::dvec3(0.0));
    EXPECT_EQ(same.translationMm, motion.translationMm);
    EXPECT_LT(glm::distance(same.rotationDegrees, motion.rotationDegrees), 1e-9);
  }
}

TEST(RigidMotion, anotherOneFollows) {
  const glm::dvec3 shift(0.5, -0.25, 2.0);
  for (const RigidMotion& motion : motions())
    for (int axis = 0; axis < 3; ++axis) {
      // About one axis the vector and the angles are the same.
      glm::dvec3 radians(0.0);
      radians[axis] = 0.7;
      const RigidMotion turn{glm::dvec3(0.0), glm::degrees(radians)};
      const RigidMotion both = motion.followedBy(shift, radians);
      EXPECT_LT(farthest([&](glm::dvec3 p) { return both.after(p); },
                         [&](glm::dvec3 p) {
                           const glm::dvec3 turned = motion.after(p) - motion.translationMm;
                           return turn.after(turned) + motion.translationMm + shift;
                         }),
                1e-5);
    }
}

// Where the second angle is a right one, the first and the third turn about the same axis.
TEST(RigidMotion, followsUpToRightAnglesAndBeyond) {
  for (const double first : {0.0, 10.0, 33.3, -120.0})
    for (const double step : {30.0, 45.0, -18.0, -90.0}) {
      const RigidMotion start{{1.0, 2.0, 3.0}, {first, 0.0, 0.0}};
      const RigidMotion turn{glm::dvec3(0.0), {0.0, step, 0.0}};
      RigidMotion motion = start;
      for (double angle = 0.0; std::abs(angle) < 360.0; angle += step) {
        ASSERT_LT(farthest([&](glm::dvec3 p) { return motion.after(p); },
                           [&](glm::dvec3 p) {
                             const RigidMotion so{glm::dvec3(0.0), {0.0, angle, 0.0}};
                             return so.after(start.after(p) - start.translationMm) +
                                    start.translationMm;
                           }),
                  1e-5)
            << first << " about x, " << angle << " about y";
        motion = motion.followedBy(glm::dvec3(0.0), glm::radians(turn.rotationDegrees));
      }
    }
}

TEST(RigidMotion, aVectorTurnsAboutItself) {
  const glm::dvec3 axis = glm::normalize(glm::dvec3(1.0, -2.0, 3.0));
  const RigidMotion turn = RigidMotion().followedBy(glm::dvec3(0.0), 0.9 * axis);
  EXPECT_LT(glm::distance(turn.after(10.0 * axis), 10.0 * axis), 1e-12);
  // What is at right angles to it turns by its length, anticlockwise.
  const glm::dvec3 across = glm::normalize(glm::cross(axis, glm::dvec3(0.0, 0.0, 1.0)));
  const glm::dvec3 expected = std::cos(0.9) * across + std::sin(0.9) * glm::cross(axis, across);
  EXPECT_LT(glm::distance(turn.after(across), expected), 1e-12);
}

TEST(RigidMotion, halfMadeTwiceIsTheWhole) {
  for (const RigidMotion& motion : motions()) {
    const RigidMotion half = motion.half();
    EXPECT_LT(farthest([&](glm::dvec3 p) { return half.after(half.after(p)); },
                       [&](glm::dvec3 p) { return motion.after(p); }),
              1e-5)
        << motion.rotationDegrees.x << " " << motion.rotationDegrees.y;
  }
  EXPECT_TRUE(RigidMotion().half().isNone());
  EXPECT_TRUE(RigidMotion().inverse().isNone());
}

TEST(RigidMotion, halfTurnsTheShorterWay) {
  const RigidMotion half = RigidMotion{glm::dvec3(0.0), {0.0, 0.0, 178.0}}.half();
  EXPECT_NEAR(half.rotationDegrees.z, 89.0, 1e-9);
  EXPECT_NEAR((RigidMotion{glm::dvec3(0.0), {0.0, 0.0, -170.0}}.half().rotationDegrees.z), -85.0,
              1e-9);
}

TEST(RigidMotion, withExchangedIsTheSameMappingInOtherCoordinates) {
  for (const RigidMotion& motion : motions())
    for (int axis = 0; axis < 3; ++axis)
      for (int other = 0; other < 3; ++other) {
        const RigidMotion there = motion.withExchanged(axis, other);
        EXPECT_LT(farthest(
                      [&](glm::dvec3 p) {
                        return exchanged(there.after(exchanged(p, axis, other)), axis, other);
                      },
                      [&](glm::dvec3 p) { return motion.after(p); }),
                  1e-5)
            << axis << " and " << other;
      }
  // A mirrored rotation about the third axis turns the other way.
  const RigidMotion turn{{1.0, 2.0, 3.0}, {0.0, 0.0, 10.0}};
  const RigidMotion mirrored = turn.withExchanged(0, 1);
  EXPECT_EQ(mirrored.translationMm, glm::dvec3(2.0, 1.0, 3.0));
  EXPECT_LT(glm::distance(mirrored.rotationDegrees, glm::dvec3(0.0, 0.0, -10.0)), 1e-12);
}

}  // namespace

}  // namespace mirel

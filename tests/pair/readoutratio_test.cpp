#include "pair/readoutratio.h"

#include <gtest/gtest.h>

#include <cmath>

namespace mirel {

namespace {

constexpr double r = 0.6;

// Along an axis, far from the ends: 3 sin(p / 6).
Volume<float> waves(int axis) {
  glm::ivec3 n(5, 5, 5);
  n[axis] = 60;
  Volume<float> d(n);
  for (int z = 0; z < n.z; ++z)
    for (int y = 0; y < n.y; ++y)
      for (int x = 0; x < n.x; ++x)
        d.at(x, y, z) = static_cast<float>(3 * std::sin(glm::ivec3(x, y, z)[axis] / 6.0));
  return d;
}

TEST(ReadoutRatio, HalfWayStandsWhatTheFieldOfTheFirstImageDoes) {
  for (int axis = 0; axis < 3; ++axis) {
    const Volume<float> b = toHalfWay(waves(axis), r, axis);
    for (int m = 10; m < 50; ++m) {
      // y with m = y + (1 - r) / 2 d(y)
      double y = m;
      for (int n = 0; n < 50; ++n) y = m - 0.5 * (1 - r) * 3 * std::sin(y / 6.0);
      glm::ivec3 p(2);
      p[axis] = m;
      EXPECT_NEAR(b.get(p), 0.5 * (1 + r) * 3 * std::sin(y / 6.0), 0.01) << axis << " " << m;
    }
  }
}

TEST(ReadoutRatio, ComesBackFromHalfWay) {
  const Volume<float> d = waves(1), b = toHalfWay(d, r, 1), back = fromHalfWay(b, b, r, 1);
  for (int y = 10; y < 50; ++y) EXPECT_NEAR(back.at(2, y, 2), d.at(2, y, 2), 0.02) << y;
}

TEST(ReadoutRatio, OfOneLeavesTheMap) {
  const Volume<float> d = waves(0);
  EXPECT_EQ(fromHalfWay(d, d, 1, 0), d);
  EXPECT_EQ(toHalfWay(d, 1, 0), d);
}

}  // namespace

}  // namespace mirel

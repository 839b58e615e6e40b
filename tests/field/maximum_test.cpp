#include "field/maximum.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

namespace mirel {

TEST(Maximum, OfAQuadraticFormIsFoundToTheTolerance) {
  const auto value = [](const std::vector<double>& p) {
    const double x = p[0] - 1.25, y = p[1] + 2, z = p[2] - 0.5 * p[0];
    return 7 - x * x - 3 * y * y - 0.5 * z * z + 0.4 * x * y;
  };
  const std::vector<double> found =
      maximumNear({0, 0, 0}, value, {.firstStep = 1, .tolerance = 1e-6});
  EXPECT_NEAR(found[0], 1.25, 1e-4);
  EXPECT_NEAR(found[1], -2, 1e-4);
  EXPECT_NEAR(found[2], 0.625, 1e-4);
}

TEST(Maximum, OfACurvedRidgeIsFound) {
  const auto value = [](const std::vector<double>& p) {
    const double across = p[1] - p[0] * p[0], along = 1 - p[0];
    return -(10 * across * across + along * along);
  };
  const std::vector<double> found =
      maximumNear({-1, 1}, value, {.firstStep = 0.5, .tolerance = 1e-7});
  EXPECT_NEAR(found[0], 1, 1e-3);
  EXPECT_NEAR(found[1], 1, 1e-3);
}

TEST(Maximum, IsNotLookedForBeyondTheBounds) {
  const auto value = [](const std::vector<double>& p) { return p[0] + 2 * p[1]; };
  const std::vector<double> found = maximumNear({3, 4}, value, {.firstStep = 1, .farthest = 5});
  EXPECT_NEAR(found[0], 8, 1e-9);
  EXPECT_NEAR(found[1], 9, 1e-9);
}

TEST(Maximum, AsksNoMoreOftenThanAllowed) {
  int asked = 0;
  const auto value = [&](const std::vector<double>& p) {
    ++asked;
    return -std::fabs(p[0] - 40) - std::fabs(p[1] + p[0]);
  };
  maximumNear({0, 0}, value, {.tolerance = 0, .mostEvaluations = 17});
  EXPECT_LE(asked, 17);
  EXPECT_GE(asked, 10);
}

TEST(Maximum, PassesOnWhatTheFunctionThrows) {
  int asked = 0;
  const auto value = [&](const std::vector<double>&) -> double {
    if (++asked == 4) throw std::runtime_error("ended by the user");
    return asked;
  };
  EXPECT_THROW(maximumNear({0, 0}, value, {}), std::runtime_error);
  EXPECT_EQ(asked, 4);
  EXPECT_THROW(maximumNear({0}, value, {}), std::logic_error);
}

}  // namespace mirel

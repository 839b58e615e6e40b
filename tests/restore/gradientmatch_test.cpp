#include "restore/gradientmatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <glm/geometric.hpp>

namespace mirel {
namespace {

using nifti::GradientTable;
using testing::ElementsAre;
using testing::IsEmpty;

const glm::vec3 none{0, 0, 0}, x{1, 0, 0}, y{0, 1, 0}, slanted{0.6f, 0.48f, 0.64f};

// x turned about z.
glm::vec3 turned(double degrees) {
  const double angle = degrees * M_PI / 180;
  return {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), 0};
}

TEST(GradientMatch, TakesSignsAndRoundedBValuesForTheSame) {
  const GradientTable first{{none, x, slanted}, {0, 1000, 2000}};
  const GradientTable second{{-slanted, none, -x}, {1985, 5, 995}};
  const GradientMatch match = matchGradients(first, second);
  EXPECT_THAT(match.pairs, ElementsAre(VolumePair{0, 1}, VolumePair{1, 2}, VolumePair{2, 0}));
  EXPECT_THAT(match.onlyFirst, IsEmpty());
  EXPECT_THAT(match.onlySecond, IsEmpty());
  EXPECT_DOUBLE_EQ(match.largestDifferenceOfB, 15);
  EXPECT_LT(match.largestAngle, 0.01);
  EXPECT_EQ(match.negatedAxis, -1);
}

TEST(GradientMatch, TakesRepeatsInTheirOrder) {
  const GradientTable first{{none, x, x, none, none}, {0, 1000, 1000, 0, 0}};
  const GradientTable second{{x, none, none, x}, {1000, 0, 0, 1000}};
  const GradientMatch match = matchGradients(first, second);
  EXPECT_THAT(match.pairs,
              ElementsAre(VolumePair{0, 1}, VolumePair{1, 0}, VolumePair{2, 3}, VolumePair{3, 2}));
  EXPECT_THAT(match.onlyFirst, ElementsAre(4));
}

TEST(GradientMatch, TellsOtherShellsAndDirectionsApart) {
  const GradientTable first{{x, y, x, none}, {1000, 1000, 700, 1000}};
  const GradientTable second{{x, turned(85), x, y}, {2000, 1000, 725, 50}};
  const GradientMatch match = matchGradients(first, second);
  EXPECT_THAT(match.pairs, IsEmpty());
  EXPECT_THAT(match.onlyFirst, ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(match.onlySecond, ElementsAre(0, 1, 2, 3));
}

TEST(GradientMatch, PrefersTheClosestDirection) {
  const GradientTable first{{turned(1.5), turned(0)}, {1000, 1000}};
  const GradientTable second{{turned(0), turned(1.6)}, {1000, 1000}};
  const GradientMatch match = matchGradients(first, second);
  EXPECT_THAT(match.pairs, ElementsAre(VolumePair{0, 1}, VolumePair{1, 0}));
  EXPECT_NEAR(match.largestAngle, 0.1, 0.01);
}

TEST(GradientMatch, SeesAnAxisOfTheOtherSign) {
  GradientTable first, second;
  for (int t = 0; t < 12; ++t) {
    first.directions.push_back(glm::normalize(glm::vec3(1 + t, 5, 7 - 2 * t)));
    second.directions.push_back(first.directions.back() * glm::vec3(1, -1, 1));
    for (GradientTable* table : {&first, &second}) table->bValues.push_back(1000);
  }
  EXPECT_EQ(matchGradients(first, second).negatedAxis, 1);
  EXPECT_EQ(matchGradients(first, first).negatedAxis, -1);
}

TEST(JoinedGradients, AreTheMiddleInTheFirstOnesSense) {
  const GradientTable first{{none, x, slanted}, {0, 1000, 3000}};
  const GradientTable second{{none, -turned(1), -slanted}, {0, 990, 3000}};
  const GradientTable joined = joinedGradients(first, second, {{0, 0}, {1, 1}, {2, 2}});
  EXPECT_THAT(joined.bValues, ElementsAre(0, 995, 3000));
  EXPECT_EQ(joined.directions[0], none);
  EXPECT_LT(glm::distance(joined.directions[1], turned(0.5)), 1e-5f);
  EXPECT_EQ(joined.directions[2], slanted);
  const GradientTable some = nifti::gradientsOf(first, {2, 0});
  EXPECT_THAT(some.bValues, ElementsAre(3000, 0));
  EXPECT_THAT(some.directions, ElementsAre(slanted, none));
}

}  // namespace
}  // namespace mirel

#include "picture/orient.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace mirel;
using namespace mirel::picture;

glm::dmat4 columns(glm::dvec3 i, glm::dvec3 j, glm::dvec3 k) {
  return {glm::dvec4(i, 0), glm::dvec4(j, 0), glm::dvec4(k, 0), glm::dvec4(7, 8, 9, 1)};
}

TEST(PatientAxes, OfAnImageInPatientAxesAreItsOwn) {
  const PatientAxes axes = patientAxes(columns({2, 0, 0}, {0, 3, 0}, {0, 0, 4}));
  EXPECT_EQ(axes.axis, (std::array<int, 3>{0, 1, 2}));
  EXPECT_EQ(axes.against, (std::array<bool, 3>{false, false, false}));
}

TEST(PatientAxes, FindTheNearestAxesOfAnObliqueImage) {
  // i runs to the front and a bit down, j to the left, k up.
  const PatientAxes axes = patientAxes(columns({0.2, 1.9, -0.6}, {-3, 0.3, 0.1}, {0, 0.9, 2.8}));
  EXPECT_EQ(axes.axis, (std::array<int, 3>{1, 0, 2}));
  EXPECT_EQ(axes.against, (std::array<bool, 3>{true, false, false}));
}

TEST(PatientAxes, AtFortyFiveDegreesUseEachAxisOnce) {
  const PatientAxes axes = patientAxes(columns({1, 1, 0}, {1, -1, 0}, {0, 0, -1}));
  EXPECT_EQ(axes.axis[0] + axes.axis[1], 1);
  EXPECT_EQ(axes.axis[2], 2);
  EXPECT_TRUE(axes.against[2]);
}

TEST(PatientAxes, OfADegenerateMatrixAreTheArraysOwn) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const glm::dvec3 bad : {glm::dvec3(0), glm::dvec3(nan, 0, 0)}) {
    const PatientAxes axes = patientAxes(columns({0, 1, 0}, bad, {0, 0, 1}));
    EXPECT_EQ(axes.axis, (std::array<int, 3>{0, 1, 2}));
  }
}

}  // namespace

#include "nifti/orientation.h"

#include <gtest/gtest.h>

#include <limits>

namespace mirel::nifti {

namespace {

glm::dmat4 columns(glm::dvec3 i, glm::dvec3 j, glm::dvec3 k) {
  return {glm::dvec4(i, 0), glm::dvec4(j, 0), glm::dvec4(k, 0), glm::dvec4(7, 8, 9, 1)};
}

}  // namespace

TEST(NearestAxes, AreSettledByTheLargestCosineFirst) {
  // i runs to the front and a bit down, j to the left, k down.
  const NearestAxes axes = nearestAxes(columns({0.2, 1.9, -0.6}, {-3, 0.3, 0.1}, {0, 0.9, -2.8}));
  EXPECT_EQ(axes.patient, (std::array<int, 3>{1, 0, 2}));
  EXPECT_EQ(axes.against, (std::array<bool, 3>{false, true, true}));
}

TEST(NearestAxes, AreMatchedOnceEach) {
  // Both i and j run nearest to anterior; i more so.
  const NearestAxes axes = nearestAxes(columns({0.1, 1, 0}, {0.6, 1, 0}, {0, 0, 1}));
  EXPECT_EQ(axes.patient, (std::array<int, 3>{1, 0, 2}));
}

TEST(NearestAxes, DoNotDependOnVoxelSizes) {
  const NearestAxes axes = nearestAxes(columns({0.3, 0.1, 0}, {-10, 90, 0}, {0, 0, 1e-9}));
  EXPECT_EQ(axes.patient, (std::array<int, 3>{0, 1, 2}));
}

TEST(NearestAxes, AreMissingForColumnsWithoutADirection) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const glm::dvec3 bad : {glm::dvec3(0), glm::dvec3(nan, 0, 0)})
    EXPECT_EQ(nearestAxes(columns({1, 0, 0}, bad, {0, 0, 1})).patient,
              (std::array<int, 3>{0, -1, 2}));
  // Of two columns with one direction the second is left without.
  EXPECT_EQ(nearestAxes(columns({1, 0, 0}, {0, 0, 2}, {0, 0, 1})).patient,
            (std::array<int, 3>{0, 2, -1}));
  EXPECT_EQ(orientationLetters(columns({1, 0, 0}, {0, 0, 0}, {0, 0, -1})), "R?I");
}

}  // namespace mirel::nifti

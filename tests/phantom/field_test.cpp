#include "phantom/field.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "phantom/anatomy.h"
#include "phantom/shim.h"
#include "phantom/tissuefield.h"

namespace mirel {

namespace {

// A sphere of susceptibility chi has no field inside (Lorentz sphere taken out), and that of a
// dipole outside: f0 chi / 3 (R / r)^3 (3 cos^2 - 1), cos to the main field.
TEST(DipoleFieldHz, OfASphereIsThatOfADipole) {
  constexpr int n = 96;
  constexpr double radius = 12.0, chi = 9.0, voxel = 1.0;
  Volume<double> map(n, n, n);
  for (int z = 0; z < n; ++z)
    for (int y = 0; y < n; ++y)
      for (int x = 0; x < n; ++x) {
        // Partial volume at the surface, so that the sphere is one.
        const double r = std::sqrt((x - 48) * (x - 48) + (y - 48) * (y - 48) + (z - 48) * (z - 48));
        map.at(x, y, z) = chi * std::min(1.0, std::max(0.0, radius - r + 0.5));
      }
  const Volume<double> field = dipoleFieldHz(map, glm::dvec3(voxel));
  const double peak = larmorHzPerPpm * chi / 3.0;
  const auto dipole = [&](double x, double y, double z) {
    const double r2 = x * x + y * y + z * z, r = std::sqrt(r2);
    return peak * std::pow(radius / r, 3) * (3.0 * z * z / r2 - 1.0);
  };
  // The copies of the sphere beyond the margins add about (radius / n)^3 each: 1 % of the peak.
  EXPECT_NEAR(field.at(48, 48, 48), 0.0, 0.02 * peak);
  EXPECT_NEAR(field.at(48, 48, 68), dipole(0, 0, 20), 0.02 * peak);
  EXPECT_NEAR(field.at(48, 68, 48), dipole(0, 20, 0), 0.02 * peak);
  EXPECT_NEAR(field.at(63, 48, 63), dipole(15, 0, 15), 0.02 * peak);
  EXPECT_NEAR(field.at(48, 48, 34), dipole(0, 0, -14), 0.02 * 2 * peak);
}

TEST(DipoleFieldHz, KnowsTheVoxelSize) {
  // The same ball, drawn in voxels of half the height.
  Volume<double> map(32, 32, 64);
  for (int z = 0; z < 64; ++z)
    for (int y = 0; y < 32; ++y)
      for (int x = 0; x < 32; ++x) {
        const double dz = 0.5 * (z - 32);
        const double r = std::sqrt((x - 16) * (x - 16) + (y - 16) * (y - 16) + dz * dz);
        map.at(x, y, z) = std::min(1.0, std::max(0.0, 4.5 - r));
      }
  const Volume<double> field = dipoleFieldHz(map, {1.0, 1.0, 0.5});
  EXPECT_NEAR(field.at(16, 16, 32), 0.0, 1.5);
  EXPECT_NEAR(field.at(16, 16, 48), larmorHzPerPpm / 3.0 * 2.0 / 8.0, 1.5);  // r = 2 R
}

TEST(Shim, TakesAConstantAndGradientsOutOfAField) {
  Volume<unsigned char> mask(8, 9, 7, 0);
  for (int z = 2; z < 6; ++z)
    for (int y = 1; y < 8; ++y)
      for (int x = 3; x < 8; ++x) mask.at(x, y, z) = 1;
  Volume<double> field(12, 13, 11);
  for (int z = 0; z < 11; ++z)
    for (int y = 0; y < 13; ++y)
      for (int x = 0; x < 12; ++x) field.at(x, y, z) = 5.0 - 2.0 * x + 0.5 * y + 3.0 * z;
  const double largest = field.max();
  const Shim shim(mask, {2.0, 1.0, 3.0}, {2, 2, 2});
  shim.removeFrom(field);
  for (int i = 0; i < field.size(); ++i) EXPECT_NEAR(field.data()[i], 0.0, 1e-4 * largest);
}

TEST(Shim, LeavesCurvatureAndAnEmptyMask) {
  Volume<double> field(9, 9, 9);
  for (int z = 0; z < 9; ++z)
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 9; ++x) field.at(x, y, z) = (x - 4) * (x - 4);
  const Volume<double> before = field;
  Shim(Volume<unsigned char>(9, 9, 9, 0), glm::dvec3(1.0), {0, 0, 0}).removeFrom(field);
  EXPECT_TRUE(field == before);
  Shim(Volume<unsigned char>(9, 9, 9, 1), glm::dvec3(1.0), {0, 0, 0}).removeFrom(field);
  EXPECT_NEAR(field.at(8, 4, 4) - field.at(4, 4, 4), 16.0, 1e-6);
}

class HeadFieldTest : public testing::Test {
 protected:
  const PhantomGrid grid{{30, 36, 20}, glm::dvec3(7.2)};
  const HeadObject head = sampleHead(grid, 1);
  FieldGoal goal{0.05, 2.0, 0.8, PhaseEncodingAxis::y};

  double largestInHead(const Volume<float>& hz) const {
    double largest = 0.0;
    for (int i = 0; i < hz.size(); ++i)
      if (head.headMask.data()[i]) largest = std::max(largest, std::abs(double(hz.data()[i])));
    return largest;
  }
};

TEST_F(HeadFieldTest, ReachesTheShiftAskedFor) {
  const Volume<float> hz = makeHeadField(grid, head, 1, goal).hz();
  EXPECT_NEAR(largestInHead(hz) * goal.readoutSeconds, goal.maxShiftVoxels, 1e-4);
}

TEST_F(HeadFieldTest, KeepsToTheGradientAndToTheGrid) {
  for (const double wanted : {0.5, 2.0, 5.0, 50.0}) {
    goal.maxShiftVoxels = wanted;
    const Volume<float> shift =
        makeHeadField(grid, head, 1, goal).hz() * static_cast<float>(goal.readoutSeconds);
    for (int z = 0; z < shift.nz(); ++z)
      for (int y = 0; y < shift.ny(); ++y)
        for (int x = 0; x < shift.nx(); ++x) {
          const float s = std::abs(shift.at(x, y, z));
          if (y > 0) {
            EXPECT_LE(std::abs(shift.at(x, y, z) - shift.at(x, y - 1, z)), 0.8001F) << wanted;
          }
          if (head.image.at(x, y, z) > 10.0F) {
            EXPECT_LE(s, static_cast<float>(std::min(y, shift.ny() - 1 - y)) + 1e-3F) << wanted;
          }
        }
  }
}

TEST_F(HeadFieldTest, WithFoldsReachesTheShiftWhateverItDoes) {
  goal.maxShiftVoxels = 25.0;
  goal.maxShiftGradient = std::numeric_limits<double>::infinity();
  const Volume<float> hz = makeHeadField(grid, head, 1, goal).hz();
  EXPECT_NEAR(largestInHead(hz) * goal.readoutSeconds, 25.0, 1e-3);
}

TEST_F(HeadFieldTest, IsTheMirrorImageOfItselfAsTheHeadIs) {
  const Volume<float> hz = makeHeadField(grid, head, 1, goal).hz();
  double worst = 0.0;
  for (int z = 0; z < hz.nz(); ++z)
    for (int y = 0; y < hz.ny(); ++y)
      for (int x = 0; x < hz.nx(); ++x)
        if (head.brainMask.at(x, y, z))
          worst = std::max(worst, std::abs(double(hz.at(x, y, z) - hz.at(29 - x, y, z))));
  // Only the brain mask knows the folds, which are not symmetric.
  EXPECT_LT(worst, 0.02 * largestInHead(hz));
}

TEST_F(HeadFieldTest, IsSmooth) {
  const HeadField field = makeHeadField(grid, head, 1, goal);
  const Volume<float> hz = field.hz();
  EXPECT_GE(field.smoothingMm(), 1.5 * 7.2 - 1e-9);
  const double largest = largestInHead(hz);
  for (int z = 1; z + 1 < hz.nz(); ++z)
    for (int y = 1; y + 1 < hz.ny(); ++y)
      for (int x = 1; x + 1 < hz.nx(); ++x) {
        if (!head.headMask.at(x, y, z)) continue;
        // A Gaussian of sigma 1.5 voxels leaves second differences of at most max / sigma^2.
        const float here = 2.0F * hz.at(x, y, z);
        EXPECT_LT(std::abs(hz.at(x, y - 1, z) + hz.at(x, y + 1, z) - here), largest / 2.25);
        EXPECT_LT(std::abs(hz.at(x - 1, y, z) + hz.at(x + 1, y, z) - here), largest / 2.25);
        EXPECT_LT(std::abs(hz.at(x, y, z - 1) + hz.at(x, y, z + 1) - here), largest / 2.25);
      }
}

TEST_F(HeadFieldTest, GoesWithTheHeadWhenItMoves) {
  const HeadField field = makeHeadField(grid, head, 1, goal);
  const Volume<float> still = field.hz();
  RigidMotion oneVoxel;
  oneVoxel.translationMm = {7.2, 0.0, -14.4};
  const Volume<float> moved = field.hz(oneVoxel);
  for (int z = 0; z < 18; ++z)
    for (int y = 0; y < 36; ++y)
      for (int x = 1; x < 30; ++x)
        EXPECT_NEAR(moved.at(x, y, z), still.at(x - 1, y, z + 2), 1e-3F)
            << x << " " << y << " " << z;
}

TEST_F(HeadFieldTest, RefusesGoalsThatMakeNoSense) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const FieldGoal& bad :
       {FieldGoal{0.0, 1, 1, PhaseEncodingAxis::y}, FieldGoal{-1.0, 1, 1, PhaseEncodingAxis::y},
        FieldGoal{nan, 1, 1, PhaseEncodingAxis::y}, FieldGoal{1, -1, 1, PhaseEncodingAxis::y},
        FieldGoal{1, nan, 1, PhaseEncodingAxis::y}, FieldGoal{1, 1, 0, PhaseEncodingAxis::y},
        FieldGoal{1, 1, nan, PhaseEncodingAxis::y}})
    EXPECT_THROW(makeHeadField(grid, head, 1, bad), std::invalid_argument);
}

}  // namespace

}  // namespace mirel

#include "numerics/interpolation.h"

#include <gtest/gtest.h>

#include "support/random_volume.h"

namespace mirel {

TEST(Between, StaysWithinTheRow) {
  for (const double coordinate : {-3.0, -0.1, 0.0, 0.25, 1.0, 3.999, 4.0, 17.0}) {
    const Between b = between(coordinate, 5);
    EXPECT_GE(b.lower, 0);
    EXPECT_EQ(b.upper, b.lower + 1);
    EXPECT_LE(b.upper, 4);
    EXPECT_DOUBLE_EQ(b.lower + b.weight, std::min(std::max(coordinate, 0.0), 4.0));
  }
  EXPECT_EQ(between(0.7, 1).upper, 0);
  EXPECT_EQ(between(0.7, 1).weight, 0.0);
}

// a + b x + c y + d z + e x y z, which trilinear interpolation keeps between the voxels of a cell.
double multilinear(const glm::dvec3& p) {
  return 3 + 2 * p.x - p.y + 0.5 * p.z + 0.25 * p.x * p.y * p.z;
}

TEST(Trilinear, IsExactForMultilinearFunctions) {
  Volume<float> v(4, 5, 3);
  for (int z = 0; z < 3; ++z)
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 4; ++x)
        v.at(x, y, z) = static_cast<float>(multilinear(glm::dvec3(x, y, z)));
  Random random(1);
  for (int i = 0; i < 200; ++i) {
    const glm::dvec3 p(random.uniform(0.0, 3.0), random.uniform(0.0, 4.0),
                       random.uniform(0.0, 2.0));
    EXPECT_NEAR(trilinear(v, p), multilinear(p), 1e-13);
  }
}

TEST(Trilinear, GoesOnConstantlyBeyondTheBorder) {
  Random random(2);
  const Volume<float> v = random.volume({3, 4, 1}, 0, 1);
  EXPECT_EQ(trilinear(v, {-2, 1, 5}), static_cast<double>(v.at(0, 1, 0)));
  EXPECT_EQ(trilinear(v, {1, -7, -1}), static_cast<double>(v.at(1, 0, 0)));
  EXPECT_DOUBLE_EQ(trilinear(v, {9, 9, 0}), static_cast<double>(v.at(2, 3, 0)));
}

TEST(CubicConvolution, IsExactForQuadraticsAndItsSamples) {
  const auto f = [](double x) { return 2 - 3 * x + 0.5 * x * x; };
  for (int i = 0; i <= 16; ++i) {
    const double t = i / 16.0;
    EXPECT_NEAR(cubicConvolution(f(-1), f(0), f(1), f(2), t), f(t), 1e-14);
    EXPECT_DOUBLE_EQ(cubicConvolution(0.1, 0.1, 0.1, 0.1, t), 0.1);
  }
  EXPECT_EQ(cubicConvolution(5, 7, 11, 13, 0), 7);
  EXPECT_EQ(cubicConvolution(5, 7, 11, 13, 1), 11);
}

TEST(CubicConvolution, HasASlopeThatGoesOn) {
  const double p[] = {5, 7, 11, 2, 3}, h = 1e-6;
  const double before = cubicConvolution(p[0], p[1], p[2], p[3], 1 - h);
  const double after = cubicConvolution(p[1], p[2], p[3], p[4], h);
  EXPECT_NEAR((p[2] - before) / h, (after - p[2]) / h, 1e-4);
  EXPECT_NEAR((after - before) / (2 * h), (p[3] - p[1]) / 2, 1e-4);
}

}  // namespace mirel

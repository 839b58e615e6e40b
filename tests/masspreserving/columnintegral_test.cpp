#include "masspreserving/columnintegral.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "masspreserving/testdata.h"

namespace mirel {

namespace {

struct Sample {
  double integral, density;
};

Sample sample(const ColumnIntegral<double>& integral, double edge) {
  const glm::ivec3 size = integral.dimensions();
  std::vector<double> shift(static_cast<std::size_t>(size.x), edge), c(shift), i(shift);
  integral.sampleRow(0, size.z - 1, shift.data(), 1.0, c.data(), i.data());
  return {c.back(), i.back()};
}

TEST(ColumnIntegral, ConservesEachVoxel) {
  const Volume<float> image = testdata::noise<float>({3, 7, 2}, 10.0, 1);
  const ColumnIntegral<double> integral(image);
  for (int k = 0; k < 7; ++k)
    EXPECT_NEAR(sample(integral, k + 1.0).integral - sample(integral, k).integral,
                image.at(2, k, 1), 1e-12);
}

TEST(ColumnIntegral, DensityIsTheDerivativeOfTheIntegral) {
  const ColumnIntegral<double> integral(testdata::noise<float>({2, 9, 1}, 5.0, 2));
  const double h = 1e-5;
  for (double p = 0.03; p < 9.0; p += 0.11) {
    const double slope =
        (sample(integral, p + h).integral - sample(integral, p - h).integral) / (2 * h);
    EXPECT_NEAR(sample(integral, p).density, slope, 1e-6) << "at " << p;
  }
}

TEST(ColumnIntegral, ReproducesParabolasAwayFromTheEnds) {
  // Means over voxels of p^2 + 1 (p the edge coordinate).
  Volume<float> image(1, 8, 1);
  for (int k = 0; k < 8; ++k) image.at(0, k, 0) = static_cast<float>(k * k + k + 4.0 / 3.0);
  const ColumnIntegral<double> integral(image);
  for (double p = 2.0; p <= 6.0; p += 0.25)
    EXPECT_NEAR(sample(integral, p).density, p * p + 1.0, 1e-5) << "at " << p;
}

TEST(ColumnIntegral, IsConstantBeyondTheEnds) {
  const Volume<float> image(2, 4, 2, 3.0F);
  const ColumnIntegral<double> integral(image);
  EXPECT_EQ(sample(integral, -2.5).integral, 0.0);
  EXPECT_EQ(sample(integral, -2.5).density, 0.0);
  EXPECT_NEAR(sample(integral, 9.0).integral, 12.0, 1e-12);
  EXPECT_EQ(sample(integral, 9.0).density, 0.0);
}

TEST(ColumnIntegral, CountsValuesThatAreNotFiniteAsZero) {
  Volume<float> image(1, 3, 1, 1.0F);
  image.at(0, 1, 0) = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(ColumnIntegral<double>(image).atEdge(0, 3, 0), 2.0);
  image.at(0, 1, 0) = std::numeric_limits<float>::infinity();
  EXPECT_EQ(ColumnIntegral<double>(image).atEdge(0, 3, 0), 2.0);
}

TEST(ColumnIntegral, TakesAColumnOfOneVoxel) {
  const ColumnIntegral<double> integral(Volume<float>(1, 1, 1, 5.0F));
  EXPECT_NEAR(sample(integral, 0.5).integral, 2.5, 1e-12);
  EXPECT_NEAR(sample(integral, 0.5).density, 5.0, 1e-12);
}

}  // namespace

}  // namespace mirel

#include "masspreserving/voxelnoise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "masspreserving/columnintegral.h"
#include "masspreserving/conjugategradients.h"
#include "masspreserving/testdata.h"

namespace mirel {

namespace {

// Noise of variance sigma^2 whose neighbours along y are weighted by (a, 1, a).
Volume<float> alikeAlongY(glm::ivec3 size, double sigma, float a, std::uint64_t stream) {
  const Volume<float> white = testdata::noise<float>(size, 1.0, stream);
  Volume<float> result = white;
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x)
        result.at(x, y, z) += a * ((y > 0 ? white.at(x, y - 1, z) : 0) +
                                   (y + 1 < size.y ? white.at(x, y + 1, z) : 0));
  return result *= static_cast<float>(sigma / std::sqrt(1.0 + 2.0 * static_cast<double>(a * a)));
}

struct Told {
  VoxelNoise noise;
  double meanSquare = 0.0;  // of the fitted residuals
};

// Of an ellipsoid whose images lie so many voxels apart, after one step of the fit.
Told toldOf(double sigma, float a, int apart = 0) {
  const glm::ivec3 size(24, 40, 20);
  const Volume<float> first = testdata::makePair(size, 0.0, apart).first;
  const Volume<float> second = testdata::makePair(size, 0.0).second;
  const MassModel<float> model(first + alikeAlongY(size, sigma, a, 5),
                               second + alikeAlongY(size, sigma, a, 6));
  const double precision = 1.0 / (2.0 * sigma * sigma);
  Objective<float> objective(model, Roughness<float>(model.edges(), glm::dvec3(3.0), 3.0, 300.0));
  objective.weight = Volume<float>(size, static_cast<float>(precision));
  Volume<float> b(model.edges(), 0.5F * static_cast<float>(apart)), gradient(model.edges(), 0.0F),
      step;
  objective.linearise(b, gradient);
  const LineSolver<float> lines(objective.roughnessForm(), objective.blockDiagonal(),
                                objective.blockNext());
  const auto product = [&](const Volume<float>& v, Volume<float>& out) {
    objective.product(v, out);
  };
  conjugateGradients<float>(product, lines, gradient, step, 1e-3, 200);
  b -= step;
  objective.evaluate(b);
  double squares = 0.0, count = 0.0;
  for (int i = 0; i < b.nx() * size.y * size.z; ++i) {
    const double signal = second.data()[i];
    squares += signal * signal * objective.residuals().data()[i] * objective.residuals().data()[i];
    count += signal * signal;
  }
  return {voxelNoise(objective, lines, b), squares / count};
}

TEST(VoxelNoise, PutsBackWhatTheFitTookUp) {
  const double sigma = 20.0, variance = 2.0 * sigma * sigma;
  const Told told = toldOf(sigma, 0.0F);
  EXPECT_LT(told.meanSquare, 0.8 * variance);
  EXPECT_NEAR(told.noise.variance, variance, 0.1 * variance);
  for (const double correlation : told.noise.alongY) EXPECT_NEAR(correlation, 0.0, 0.08);
  EXPECT_NEAR(told.noise.alongX, 0.0, 0.15);
  EXPECT_GT(told.noise.averagedShare(), 0.85);
}

TEST(VoxelNoise, FindsThatNeighboursAreAlike) {
  const double sigma = 20.0;
  const Told told = toldOf(sigma, 0.5F);
  EXPECT_NEAR(told.noise.variance, 2.0 * sigma * sigma, 0.15 * 2.0 * sigma * sigma);
  EXPECT_NEAR(told.noise.alongY[0], 2.0 / 3.0, 0.08);
  EXPECT_NEAR(told.noise.alongY[1], 1.0 / 6.0, 0.1);
  EXPECT_LT(told.noise.averagedShare(), 0.3);
}

// There interpolation takes off a third of it and makes neighbours alike.
TEST(VoxelNoise, IsThatOfTheImagesHalfWay) {
  const double sigma = 20.0, variance = 2.0 * sigma * sigma;
  const Told told = toldOf(sigma, 0.0F, 1);
  EXPECT_LT(told.meanSquare, 0.6 * variance);
  EXPECT_NEAR(told.noise.variance, variance, 0.15 * variance);
  EXPECT_GT(told.noise.averagedShare(), 0.7);
}

TEST(VoxelNoise, TellsNothingOfImagesThatAreAlike) {
  const Told told = toldOf(0.0, 0.0F);
  EXPECT_EQ(told.noise.variance, 0.0);
}

// Half-way noise is averaged as the column integral does it.
TEST(VoxelNoise, SharesAreThoseOfInterpolatedNoise) {
  const int n = 16;
  // On a ramp, along which edges lie between their voxels and are not clamped.
  const auto halfWay = [&](int raised) {
    Volume<float> image(1, n, 1);
    for (int k = 0; k < n; ++k) image.at(0, k, 0) = 8.0F * static_cast<float>(k);
    if (raised >= 0) image.at(0, raised, 0) += 1.0F;
    const ColumnIntegral<double> column(image);
    const double shift = 0.5;
    double below = 0.0, above = 0.0, density = 0.0;
    column.sampleRow(7, 0, &shift, 1.0, &below, &density);
    column.sampleRow(8, 0, &shift, 1.0, &above, &density);
    return above - below;
  };
  std::vector<double> weights;  // of the voxels in the one half-way between 7 and 8
  for (int k = 0; k < n; ++k) weights.push_back(halfWay(k) - halfWay(-1));
  for (const VoxelNoise& noise :
       {VoxelNoise{1.0, {0.0, 0.0, 0.0}, 0.0}, VoxelNoise{1.0, {0.3, -0.2, 0.1}, 0.0},
        VoxelNoise{1.0, {0.6, 0.3, 0.1}, 0.5}}) {
    double kept = 0.0;
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j) {
        const int apart = std::abs(i - j);
        const double alike = apart == 0  ? 1.0
                             : apart > 3 ? 0.0
                                         : noise.alongY[static_cast<std::size_t>(apart) - 1];
        kept += weights[static_cast<std::size_t>(i)] * weights[static_cast<std::size_t>(j)] * alike;
      }
    EXPECT_NEAR(noise.averagedShare(), (1.0 - kept) / 0.302, 0.01);
  }
}

TEST(VoxelNoise, SharesAreBetweenNothingAndAll) {
  EXPECT_EQ((VoxelNoise{1.0, {1.0, 1.0, 1.0}, 0.0}).averagedShare(), 0.0);
  EXPECT_EQ((VoxelNoise{1.0, {-1.0, 0.0, 0.0}, 0.0}).averagedShare(), 1.0);
}

}  // namespace

}  // namespace mirel

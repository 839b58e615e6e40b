// Gaussian kernels, direct convolution and the y derivative; fftconvolution_test.cpp has the FFT.
#include "numerics/volumegauss.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "reference/volumegauss.h"
#include "support/compare.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

using compare::same;

TEST(Gauss1D, IsTheSampledDensityNotNormalisedToAUnitSum) {
  const auto g = createGauss1D(5, 1.0, 0);
  ASSERT_EQ(g.size(), 5u);
  EXPECT_NEAR(g[2], 0.39894228040143268, 1e-16);
  EXPECT_NEAR(g[1], 0.24197072451914337, 1e-16);
  EXPECT_EQ(g[1], g[3]);
  EXPECT_EQ(g[0], g[4]);
  double sum = 0;
  for (const double tap : createGauss1D(3, 2.0, 0)) sum += tap;
  EXPECT_LT(sum, 0.6);
}

TEST(Gauss1D, CentreOfAnEvenLengthIsTheUpperMiddle) {
  const auto g = createGauss1D(4, 1.0, 0);
  ASSERT_EQ(g.size(), 4u);
  EXPECT_GT(g[2], g[1]);
  EXPECT_EQ(g[1], g[3]);
  EXPECT_LT(g[0], g[1]);
}

TEST(Gauss1D, FirstDerivativeIsAntisymmetricAndPositiveAtNegativeOffsets) {
  const auto g = createGauss1D(7, 1.3, 1);
  EXPECT_EQ(g[3], 0);
  for (std::size_t k = 1; k <= 3; ++k) {
    EXPECT_EQ(g[3 - k], -g[3 + k]);
    EXPECT_GT(g[3 - k], 0);
  }
}

TEST(Gauss1D, SecondDerivativeChangesSignAtSigma) {
  const auto g = createGauss1D(9, 2.0, 2);
  EXPECT_LT(g[4], 0);
  EXPECT_LT(g[5], 0);
  EXPECT_EQ(g[6], 0);
  EXPECT_GT(g[7], 0);
  EXPECT_EQ(g[2], g[6]);
}

TEST(Gauss1D, AnyOtherOrderIsTheGaussian) {
  EXPECT_EQ(createGauss1D(5, 1.0, 3), createGauss1D(5, 1.0, 0));
  EXPECT_EQ(createGauss1D(5, 1.0, -1), createGauss1D(5, 1.0, 0));
}

TEST(Gauss1D, OfNoTapsIsEmpty) { EXPECT_TRUE(createGauss1D(0, 1.0, 0).empty()); }

TEST(Gauss1D, AgreesWithTheReference) {
  Random random(1);
  for (const int n : {0, 1, 2, 3, 4, 5, 9, 16, 31, 64, 128})
    for (const double sigma : {0.0, 0.3, 1.0, 1.5, 2.7, 40.0, random.uniform(0.1, 5.0), -1.0})
      for (int order = -1; order <= 3; ++order)
        EXPECT_TRUE(same(createGauss1D(n, sigma, order), reference::createGauss1D(n, sigma, order)))
            << n << " taps, sigma " << sigma << ", order " << order;
}

// The support along x of a kernel: the first and last index that is not 0.
glm::ivec2 supportAlongX(int n, double sigma) {
  const auto kernel = createGaussianKernel3D<float>({n, 1, 1}, {sigma, 1, 1}, {0, 0, 0}, false);
  glm::ivec2 range(n, -1);
  for (int i = 0; i < n; ++i)
    if (kernel.at(i, 0, 0) != 0) range = {std::min(range.x, i), i};
  return range;
}

TEST(GaussianKernel, IsCutToSixSigma) {
  EXPECT_EQ(supportAlongX(64, 2.0), glm::ivec2(19, 44));
  EXPECT_EQ(supportAlongX(63, 2.0), glm::ivec2(19, 43)) << "symmetric about 31";
  EXPECT_EQ(supportAlongX(9, 1.0), glm::ivec2(0, 8));
  EXPECT_EQ(supportAlongX(15, 1.0), glm::ivec2(0, 14)) << "radius 7 is not above 1 + 6 sigma";
  EXPECT_EQ(supportAlongX(17, 1.0), glm::ivec2(2, 14));
}

TEST(GaussianKernel, OfOddSizeWrappedHasItsCentreAtZeroAndIsSymmetric) {
  const glm::ivec3 d(5, 7, 9);
  const auto kernel = createGaussianKernel3D<float>(d, {1.0, 1.5, 0.8}, {0, 0, 0}, true);
  EXPECT_EQ(kernel.max(), kernel.at(0, 0, 0));
  for (int z = 0; z < d.z; ++z)
    for (int y = 0; y < d.y; ++y)
      for (int x = 0; x < d.x; ++x)
        EXPECT_EQ(kernel.at(x, y, z), kernel.at((d.x - x) % d.x, (d.y - y) % d.y, (d.z - z) % d.z));
}

TEST(GaussianKernel, OfEvenSizeWrappedHasItsCentreAtZero) {
  const auto kernel = createGaussianKernel3D<float>({8, 6, 4}, {1.0, 1.0, 1.0}, {0, 0, 0}, true);
  EXPECT_EQ(kernel.max(), kernel.at(0, 0, 0));
}

TEST(GaussianKernel, CentredHasItsCentreAtHalf) {
  const auto kernel = createGaussianKernel3D<float>({5, 4, 3}, {1, 1, 1}, {0, 0, 0}, false);
  EXPECT_EQ(kernel.max(), kernel.at(2, 2, 1));
}

TEST(GaussianKernel, AgreesWithTheReference) {
  Random random(2);
  for (const bool wrap : {false, true})
    for (const glm::ivec3 order : {glm::ivec3(0, 0, 0), glm::ivec3(0, 1, 0), glm::ivec3(2, 0, 1)})
      for (glm::ivec3 d : testSizes()) {
        const glm::dvec3 sigma(random.uniform(0.2, 3.0), random.uniform(0.2, 3.0),
                               random.uniform(0.2, 3.0));
        EXPECT_TRUE(same(createGaussianKernel3D<float>(d, sigma, order, wrap),
                         reference::createGaussianKernel3D<float>(d, sigma, order, wrap)));
        const glm::ivec2 d2(d.x * 4, d.y), order2(order.x, order.y);
        const glm::dvec2 sigma2(sigma.x, sigma.y);
        EXPECT_TRUE(same(createGaussianKernel2D<float>(d2, sigma2, order2, wrap),
                         reference::createGaussianKernel2D<float>(d2, sigma2, order2, wrap)));
      }
}

TEST(GaussianKernel, OfNoSizeIsEmpty) {
  EXPECT_EQ(createGaussianKernel3D<float>({0, 3, 3}, {1, 1, 1}, {0, 0, 0}, true).size(), 0);
  EXPECT_EQ(createGaussianKernel2D<float>({3, 0}, {1, 1}, {0, 0}, true).size(), 0);
}

TEST(Convolution, WithACentredImpulseIsTheIdentity) {
  Random random(3);
  const auto original = random.volume({5, 6, 4}, -10, 10);
  Volume<float> image = original, kernel(3, 3, 3, 0.0f);
  kernel.at(1, 1, 1) = 1;
  convolve3D(image, kernel, Volume<float>(5, 6, 4, 1.0f), false);
  EXPECT_EQ(image, original);
}

TEST(Convolution, AppliesTheKernelAsStoredWithoutFlipping) {
  Volume<float> image(5, 1, 1, 0.0f), kernel(3, 1, 1, 0.0f);
  image.at(2, 0, 0) = 1;
  kernel.at(2, 0, 0) = 7;  // weighs the sample at x + 1
  convolve3D(image, kernel, Volume<float>(5, 1, 1, 1.0f), false);
  EXPECT_EQ(image.at(1, 0, 0), 7);
  EXPECT_EQ(image.at(3, 0, 0), 0);
  Matrix<float> flat(5, 1, 0.0f), flatKernel(3, 1, 0.0f);
  flat.at(2, 0) = 1;
  flatKernel.at(2, 0) = 7;
  convolve2D(flat, flatKernel, Matrix<float>(5, 1, 1.0f), false);
  EXPECT_EQ(flat.at(1, 0), 7);
}

TEST(Convolution, NormalisedKeepsAConstantAlsoAtTheBorders) {
  Random random(4);
  Volume<float> image(6, 5, 7, 3.0f);
  const auto kernel = createGaussianKernel3D<float>({5, 5, 5}, {1, 1, 1}, {0, 0, 0}, false);
  convolve3D(image, kernel, random.volume({6, 5, 7}, 0.1f, 1.0f), true);
  for (int i = 0; i < image.size(); ++i) EXPECT_NEAR(image.data()[i], 3, 1e-5);
  Matrix<float> flat(6, 5, 3.0f);
  convolve2D(flat, createGaussianKernel2D<float>({5, 5}, {1, 1}, {0, 0}, false),
             random.matrix(6, 5, 0.1f, 1.0f), true);
  for (int i = 0; i < flat.size(); ++i) EXPECT_NEAR(flat.data()[i], 3, 1e-5);
}

TEST(Convolution, In3DWithAllZeroWeightIsZero) {
  Volume<float> image(4, 4, 4, 3.0f);
  convolve3D(image, Volume<float>(3, 3, 3, 1.0f), Volume<float>(4, 4, 4, 0.0f), true);
  EXPECT_EQ(image, Volume<float>(4, 4, 4, 0.0f));
}

TEST(Convolution, In2DWithAllZeroWeightPassesTheImageThrough) {
  Random random(5);
  const auto original = random.matrix(6, 4, -10, 10);
  Matrix<float> image = original;
  convolve2D(image, Matrix<float>(3, 3, 1.0f), Matrix<float>(6, 4, 0.0f), true);
  EXPECT_EQ(image, original);
}

TEST(Convolution, In2DPassesThroughOnlyWhereTheWholeNeighbourhoodIsSkipped) {
  Matrix<float> image(7, 1, 5.0f), weight(7, 1, 0.0f);
  image.at(0, 0) = 20;
  weight.at(0, 0) = 1;
  convolve2D(image, Matrix<float>(3, 1, 1.0f), weight, true);
  EXPECT_EQ(image.at(0, 0), 20);
  EXPECT_EQ(image.at(1, 0), 20) << "its neighbour has a weight";
  EXPECT_EQ(image.at(2, 0), 5) << "nothing in reach has a weight";
}

TEST(Convolution, SkipsNanBehindAZeroWeight) {
  Volume<float> image(3, 1, 1, 2.0f), weight(3, 1, 1, 1.0f);
  image.at(2, 0, 0) = std::numeric_limits<float>::quiet_NaN();
  weight.at(2, 0, 0) = 0;
  convolve3D(image, Volume<float>(3, 1, 1, 1.0f), weight, true);
  EXPECT_EQ(image, Volume<float>(3, 1, 1, 2.0f));
}

TEST(Convolution, LeavesTheSumWhereTheNormaliserIsNotPositive) {
  Volume<float> image(1, 1, 1, 2.0f);
  convolve3D(image, Volume<float>(1, 1, 1, -3.0f), Volume<float>(1, 1, 1, 1.0f), true);
  EXPECT_EQ(image.at(0, 0, 0), -6);
}

TEST(Convolution, AgreesWithTheReference) {
  Random random(6);
  const std::vector<glm::ivec3> kernels{{1, 1, 1}, {3, 3, 3}, {5, 4, 3}, {2, 2, 2}, {9, 9, 9}};
  for (const glm::ivec3 d : testSizes())
    for (const glm::ivec3 k : kernels)
      for (const bool normalize : {false, true}) {
        SCOPED_TRACE(testing::Message() << d.x << "x" << d.y << "x" << d.z << " by " << k.x
                                        << ", normalize " << normalize);
        Volume<float> a = random.volume(d, -100, 100), weight = random.volume(d, -0.3f, 1);
        for (int i = 0; i < weight.size(); ++i)
          if (random.below(2) == 0) weight.data()[i] = 0;
        if (random.below(3) == 0) sprinkleOddValues(a, random);
        const Volume<float> kernel = random.volume(k, -0.2f, 1);
        Volume<float> b = a;
        convolve3D(a, kernel, weight, normalize);
        reference::convolve3D(b, kernel, weight, normalize);
        EXPECT_TRUE(same(a, b)) << "3-D";

        Matrix<float> c = random.matrix(d.x, d.y, -100, 100), w(d.x, d.y, 0.0f);
        for (int i = 0; i < w.size(); ++i)
          if (random.below(5) == 0) w.data()[i] = random.uniform(-0.3f, 1.0f);
        if (random.below(3) == 0) sprinkleOddValues(c, random);
        const Matrix<float> flat = random.matrix(k.x, k.y, -0.2f, 1);
        Matrix<float> e = c;
        convolve2D(c, flat, w, normalize);
        reference::convolve2D(e, flat, w, normalize);
        EXPECT_TRUE(same(c, e)) << "2-D";
      }
}

TEST(Convolution, AsTheEstimatorsUseItAgreesWithTheReference) {
  Random random(7);
  const glm::ivec3 d(12, 14, 9);
  for (const double sigma : {0.5, 1.0, 2.0, 4.0}) {
    Volume<float> a = random.volume(d, -5, 5), weight(d, 0.25f);
    for (int i = 0; i < weight.size(); ++i)
      if (random.below(2) == 0) weight.data()[i] = 1;
    Volume<float> b = a;
    const auto kernel =
        createGaussianKernel3D<float>({9, 9, 9}, {sigma, sigma, sigma}, {0, 0, 0}, false);
    convolve3D(a, kernel, weight, true);
    reference::convolve3D(b, kernel, weight, true);
    EXPECT_TRUE(same(a, b)) << sigma;
  }
}

TEST(YDerivative, OfARampIsOneInsideAndZeroInTheFirstAndLastRow) {
  Volume<float> v(3, 6, 2);
  for (int z = 0; z < 2; ++z)
    for (int y = 0; y < 6; ++y)
      for (int x = 0; x < 3; ++x) v.at(x, y, z) = static_cast<float>(y);
  const Volume<float> d = getSimpleYDerivative(v);
  for (int z = 0; z < 2; ++z)
    for (int y = 0; y < 6; ++y)
      for (int x = 0; x < 3; ++x) EXPECT_EQ(d.at(x, y, z), y == 0 || y == 5 ? 0 : 1);
}

TEST(YDerivative, OfFewerThanThreeRowsIsZero) {
  Random random(8);
  EXPECT_EQ(getSimpleYDerivative(random.volume({4, 2, 3}, 0, 9)), Volume<float>(4, 2, 3, 0.0f));
  EXPECT_EQ(getSimpleYDerivative(random.volume({4, 1, 3}, 0, 9)), Volume<float>(4, 1, 3, 0.0f));
  EXPECT_EQ(getSimpleYDerivative(Volume<float>(4, 0, 3)).dimensions(), glm::ivec3(4, 0, 3));
}

TEST(YDerivative, AgreesWithTheReference) {
  Random random(9);
  for (const glm::ivec3 d : testSizes()) {
    Volume<float> v = random.volume(d, -9, 9);
    EXPECT_TRUE(same(getSimpleYDerivative(v), reference::getSimpleYDerivative(v)));
    sprinkleOddValues(v, random);
    EXPECT_TRUE(same(getSimpleYDerivative(v), reference::getSimpleYDerivative(v)));
  }
}

}  // namespace

}  // namespace mirel

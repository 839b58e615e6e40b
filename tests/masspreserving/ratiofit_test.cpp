#include "masspreserving/ratiofit.h"

#include <gtest/gtest.h>

#include <cmath>

#include "masspreserving/objective.h"
#include "masspreserving/testdata.h"

namespace mirel {

namespace {

const glm::ivec3 voxels(5, 9, 4);
const glm::ivec3 edges(5, 10, 4);
const glm::dvec3 part = 1.0 / glm::dvec3(voxels);

RatioBasis<double> basis() {
  RatioBasis<double> functions(voxels, part, 2, 6, 0.4, CoarseGrid(voxels, part, {2, 3, 2}));
  Volume<double> mean = testdata::noise<double>(voxels, 0.4, 21);
  functions.setIntensities(mean += 1.0, 0.01);
  return functions;
}

Eigen::VectorXd coefficients(int n, double size, std::uint64_t stream) {
  const Volume<double> values = testdata::noise<double>({n, 1, 1}, size, stream);
  return Eigen::Map<const Eigen::VectorXd>(values.data(), n);
}

TEST(CoarseGrid, KeepsConstantsAndIsTransposed) {
  const CoarseGrid grid(voxels, part, {3, 2, 4});
  Volume<double> v(voxels);
  grid.expand(std::vector<double>(24, 2.5), v);
  for (int i = 0; i < v.size(); ++i) EXPECT_NEAR(v.data()[i], 2.5, 1e-12);
  const Volume<double> u = testdata::noise<double>(voxels, 1.0, 3);
  const Volume<double> nodes = testdata::noise<double>({24, 1, 1}, 1.0, 4);
  const std::vector<double> values(nodes.data(), nodes.data() + 24), sums = grid.project(u);
  grid.expand(values, v);
  double there = 0.0;
  for (std::size_t k = 0; k < 24; ++k) there += sums[k] * values[k];
  EXPECT_NEAR(there, dot(u, v), 1e-10);
}

TEST(RatioBasis, ProjectionIsTransposedAndGramIsOfTheFunctions) {
  const RatioBasis<double> functions = basis();
  const Eigen::VectorXd c = coefficients(functions.size(), 1.0, 5),
                        d = coefficients(functions.size(), 1.0, 6);
  Volume<double> a(voxels), e(voxels), w = testdata::noise<double>(voxels, 1.0, 7);
  functions.expand(c, a);
  functions.expand(d, e);
  EXPECT_NEAR(functions.project(w).dot(c), dot(w, a), 1e-9);
  EXPECT_NEAR(c.dot(functions.gram(w) * d), dot(w * a, e), 1e-9);
}

TEST(RatioBasis, DoesNotReachWhereThereIsOnlyNoise) {
  RatioBasis<double> functions(voxels, part, 1, 0, 0.1, CoarseGrid(voxels, part, {1, 1, 1}));
  functions.setIntensities(Volume<double>(voxels, 0.09), 0.01);
  Volume<double> a(voxels);
  functions.expand(coefficients(functions.size(), 1.0, 8), a);
  EXPECT_LT(std::max(a.max(), -a.min()), 0.1);
}

// The squares of such intensities are beyond all numbers, and a level of them is none.
TEST(RatioBasis, IntensitiesWithoutALevelHaveAPlaceAmongTheKnots) {
  RatioBasis<float> functions(voxels, part, 0, 6, 0.4, CoarseGrid(voxels, part, {2, 3, 2}));
  functions.setIntensities(Volume<float>(voxels, 1e30F), 0.01);
  Volume<float> a(voxels);
  functions.expand(Eigen::VectorXd::Ones(functions.size()), a);
  EXPECT_EQ(a, Volume<float>(voxels, 2.0F));
  EXPECT_EQ(functions.project(a).tail(6).sum(), 2.0 * a.size());
  EXPECT_EQ(functions.gram(a).bottomRightCorner(6, 6).sum(), 2.0 * a.size());
}

// An objective with a ratio that is not at its best.
struct Case {
  MassModel<double> model{testdata::noisyImage(voxels, 1), testdata::noisyImage(voxels, 2)};
  Objective<double> objective{model, Roughness<double>(edges, {1.0, 2.0, 1.5}, 0.7, 0.4)};
  RatioFit<double> ratio;
  Volume<double> b = testdata::noise<double>(edges, 0.15, 3);
  Volume<double> gradient{edges, 0.0};

  Case() : ratio(basis(), {coefficients(16, 0.1, 9), 3.0, 2.0}) {
    Volume<double> mean = testdata::noise<double>(voxels, 0.4, 21);
    ratio.setIntensities(mean += 1.0, 0.01);
    for (int i = 0; i < objective.weight.size(); ++i)
      objective.weight.data()[i] = 1.0 + 0.1 * (i % 7);
    objective.ratio = &ratio;
    objective.linearise(b, gradient);
  }
  double value(const Volume<double>& at, const Eigen::VectorXd& c) {
    ratio.setCoefficients(c);
    return objective.value(at);
  }
};

TEST(RatioFit, GradientMatchesFiniteDifferences) {
  Case c;
  const Eigen::VectorXd now = c.ratio.knowledge().coefficients, gradient = c.ratio.gradient();
  ASSERT_EQ(now.size(), 16);
  const double h = 1e-6;
  for (int k = 0; k < now.size(); ++k) {
    const Eigen::VectorXd step = h * Eigen::VectorXd::Unit(now.size(), k);
    const double slope = (c.value(c.b, now + step) - c.value(c.b, now - step)) / (2 * h);
    EXPECT_NEAR(gradient[k], slope, 1e-6 * (1.0 + std::abs(slope))) << "coefficient " << k;
  }
}

// Along (u, -A^-1 C u), on which the ratio follows b, the slope of E is u times the gradient.
TEST(RatioFit, EliminatedGradientIsTheSlopeWithTheRatioFollowing) {
  Case c;
  const Eigen::VectorXd now = c.ratio.knowledge().coefficients;
  for (std::uint64_t stream = 30; stream < 34; ++stream) {
    const Volume<double> u = testdata::noise<double>(edges, 1.0, stream);
    Volume<double> change(voxels);
    c.ratio.setCoefficients(now);
    c.objective.linearise(c.b, c.gradient);
    c.objective.residualChange(u, change);
    const Eigen::VectorXd follow = -c.ratio.solve(c.ratio.weighted(change));
    const double h = 1e-6;
    const double slope =
        (c.value(c.b + u * h, now + h * follow) - c.value(c.b - u * h, now - h * follow)) / (2 * h);
    EXPECT_NEAR(dot(u, c.gradient), slope, 1e-5 * (1.0 + std::abs(slope)));
  }
}

TEST(RatioFit, EliminatedProductIsSymmetricAndPositive) {
  Case c;
  const Volume<double> u = testdata::noise<double>(edges, 1.0, 40),
                       v = testdata::noise<double>(edges, 1.0, 41);
  Volume<double> hu(edges, 0.0), hv(edges, 0.0);
  c.objective.product(u, hu);
  c.objective.product(v, hv);
  EXPECT_NEAR(dot(u, hv), dot(v, hu), 1e-9 * std::abs(dot(u, hu)));
  EXPECT_GT(dot(u, hu), 0.0);
}

// Noise that hides the signal leaves the coefficients free.
TEST(RatioFit, ARatioThatIsNoneWithLessNoiseBeginsAgain) {
  RatioFit<float> fit(
      RatioBasis<float>(voxels, part, 1, 6, 0.4, CoarseGrid(voxels, part, {2, 3, 2})), {});
  const Volume<float> ones(voxels, 1.0F);
  fit.setIntensities(ones, 30.0);
  Eigen::VectorXd c = Eigen::VectorXd::Zero(10);
  c.tail(6).setConstant(400.0);
  fit.setCoefficients(c);
  EXPECT_TRUE(fit.isWithinBounds());
  EXPECT_LT(fit.root().max(), 2.0F);
  fit.setIntensities(ones, 0.01);
  EXPECT_TRUE(fit.isWithinBounds());
  EXPECT_EQ(fit.root(), ones);
  fit.setCoefficients(c);
  EXPECT_FALSE(fit.isWithinBounds());
  c.tail(6).setConstant(4.5);
  fit.setCoefficients(c);
  fit.setIntensities(ones, 0.0001);
  EXPECT_NEAR(fit.root().max(), std::exp(2.25), 0.01);
}

TEST(RatioFit, SpreadIsTheStandardDeviationOfTheLogarithm) {
  RatioFit<double> fit(
      RatioBasis<double>(voxels, part, 1, 0, 0.1, CoarseGrid(voxels, part, {1, 1, 1})), {});
  const Volume<double> bright(voxels, 100.0);
  fit.setIntensities(bright, 1e-6);
  Eigen::VectorXd c = Eigen::VectorXd::Zero(4);
  c[0] = 0.7;
  fit.setCoefficients(c);
  EXPECT_NEAR(fit.spread(bright), 0.0, 1e-6);
  c[2] = 0.3;  // along y: 0.3 u at u = -8/9, -6/9 ... 8/9, whose mean square is 80 / 243
  fit.setCoefficients(c);
  EXPECT_NEAR(fit.spread(bright), 0.3 * std::sqrt(80.0 / 243.0), 1e-6);
}

}  // namespace

}  // namespace mirel

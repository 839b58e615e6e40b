#include "masspreserving/objective.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

#include "masspreserving/testdata.h"

namespace mirel {

namespace {

const glm::ivec3 voxels(4, 9, 3);
const glm::ivec3 edges(4, 10, 3);

Volume<float> image(std::uint64_t stream) { return testdata::noisyImage(voxels, stream); }

Volume<double> field(double sigma, std::uint64_t stream) {
  return testdata::noise<double>(edges, sigma, stream);
}

Volume<double> weights() {
  Volume<double> w = testdata::noise<double>(voxels, 0.3, 9);
  for (int i = 0; i < w.size(); ++i) w.data()[i] = std::abs(w.data()[i]) * 5.0;
  return w;
}

struct Case {
  MassModel<double> model{image(1), image(2)};
  Objective<double> objective{model, Roughness<double>(edges, {1.0, 2.0, 1.5}, 0.7, 0.4)};
  Case() { objective.weight = weights(); }
};

TEST(Barrier, DerivativesMatchFiniteDifferences) {
  const double h = 1e-6;
  for (double d = -0.95; d < 0.96; d += 0.05) {
    const Barrier at(d);
    EXPECT_NEAR(at.first, (Barrier(d + h).value - Barrier(d - h).value) / (2 * h),
                1e-5 * (1.0 + std::abs(at.first)));
    EXPECT_NEAR(at.second, (Barrier(d + h).first - Barrier(d - h).first) / (2 * h),
                1e-5 * (1.0 + at.second));
    EXPECT_GE(at.second, 0.0);
  }
  EXPECT_EQ(Barrier(0.0).value, 0.0);
  EXPECT_EQ(Barrier(1.0).value, std::numeric_limits<double>::infinity());
  EXPECT_EQ(Barrier(-1.5).value, std::numeric_limits<double>::infinity());
}

TEST(Objective, GradientMatchesFiniteDifferences) {
  Case c;
  Volume<double> b = field(0.15, 3), gradient(edges, 0.0);
  const double value = c.objective.linearise(b, gradient);
  EXPECT_DOUBLE_EQ(value, c.objective.value(b));
  const double h = 1e-6;
  for (int i = 0; i < b.size(); ++i) {
    const double kept = b.data()[i];
    b.data()[i] = kept + h;
    const double above = c.objective.value(b);
    b.data()[i] = kept - h;
    const double below = c.objective.value(b);
    b.data()[i] = kept;
    EXPECT_NEAR(gradient.data()[i], (above - below) / (2 * h),
                1e-6 * (1.0 + std::abs(gradient.data()[i])))
        << "edge " << i;
  }
}

TEST(AveragedNoise, IsWhatParabolasLeaveOfIt) {
  // Squared weights of the neighbours in a voxel displaced by 0, 0.2 and 0.5, computed by hand.
  for (const auto& [s, left] : {std::pair{0.0, 1.0}, {0.2, 0.886}, {0.5, 0.698}}) {
    EXPECT_NEAR(1.0 - AveragedNoise(s).missing, left, 0.011) << s;
    EXPECT_NEAR(AveragedNoise(-s).missing, AveragedNoise(s).missing, 1e-12);
    EXPECT_NEAR(AveragedNoise(3.0 + s).missing, AveragedNoise(s).missing, 1e-12);
    EXPECT_NEAR(AveragedNoise(1.0 - s).missing, AveragedNoise(s).missing, 1e-12);
  }
}

TEST(Objective, ExpectsNoNoiseWhereBothImagesAreZero) {
  const Volume<float> empty(voxels, 0.0F);
  const MassModel<double> model(empty, empty);
  Objective<double> objective(model, Roughness<double>(edges, {1.0, 2.0, 1.5}, 0.7, 0.4));
  const Volume<double> b = field(0.15, 4);
  const double without = objective.value(b);
  objective.noiseVariance = 50.0;
  EXPECT_EQ(objective.value(b), without);
}

TEST(Objective, GradientHoldsTheNoiseThatIsExpected) {
  Case c;
  const Volume<double> b = field(0.15, 4), v = field(1.0, 5);
  Volume<double> without(edges, 0.0), with(edges, 0.0);
  c.objective.linearise(b, without);
  c.objective.noiseVariance = 50.0;
  c.objective.linearise(b, with);
  EXPECT_NE(with, without);
  const double h = 1e-6;
  const double slope = (c.objective.value(b + v * h) - c.objective.value(b - v * h)) / (2 * h);
  EXPECT_NEAR(dot(with, v), slope, 1e-5 * std::abs(slope));
}

TEST(Objective, DataProductIsThatOfTheResidualsJacobian) {
  Case c;
  const Volume<double> b = field(0.15, 4), v = field(1.0, 5), u = field(1.0, 6);
  Volume<double> gradient(edges, 0.0), product(edges, 0.0), slope(edges, 0.0);
  c.objective.linearise(b, gradient);
  c.objective.dataProduct(v, product);
  // u' J' W J v with J by central differences of the residuals.
  const auto change = [&](const Volume<double>& direction) {
    const double h = 1e-6;
    Volume<double> above(voxels, 0.0), below(voxels, 0.0);
    c.model.evaluate(b + direction * h, above, slope);
    c.model.evaluate(b - direction * h, below, slope);
    return (above - below) / (2 * h);
  };
  const Volume<double> ju = change(u), jv = change(v);
  EXPECT_NEAR(dot(u, product), dot(ju, c.objective.weight * jv), 1e-6 * std::abs(dot(u, product)));
}

TEST(Objective, ProductAddsBarrierAndRoughnessExactly) {
  Case c;
  const Volume<double> b = field(0.2, 7), v = field(1.0, 8);
  Volume<double> above(edges, 0.0), below(edges, 0.0), product(edges, 0.0), data(edges, 0.0);
  c.objective.linearise(b, above);
  c.objective.product(v, product);
  c.objective.dataProduct(v, data);
  c.objective.weight.setAll(0.0);
  const double h = 1e-6;
  c.objective.linearise(b + v * h, above);
  c.objective.linearise(b - v * h, below);
  for (int i = 0; i < b.size(); ++i)
    EXPECT_NEAR(product.data()[i] - data.data()[i], (above.data()[i] - below.data()[i]) / (2 * h),
                1e-6 * (1.0 + std::abs(product.data()[i])));
}

TEST(Objective, ProductIsSymmetricAndPositive) {
  Case c;
  const Volume<double> b = field(0.2, 7), u = field(1.0, 8), v = field(1.0, 10);
  Volume<double> gradient(edges, 0.0), hu(edges, 0.0), hv(edges, 0.0);
  c.objective.linearise(b, gradient);
  c.objective.product(u, hu);
  c.objective.product(v, hv);
  EXPECT_NEAR(dot(u, hv), dot(v, hu), 1e-10 * std::abs(dot(u, hv)));
  EXPECT_GT(dot(u, hu), 0.0);
}

TEST(Objective, IsInfiniteWhereAColumnFolds) {
  Case c;
  Volume<double> b(edges, 0.0);
  b.at(1, 4, 1) = 1.0;
  EXPECT_EQ(c.objective.value(b), std::numeric_limits<double>::infinity());
}

TEST(Objective, GradientOfIsTheTransposedJacobian) {
  Case c;
  const Volume<double> b = field(0.15, 4), u = field(1.0, 5);
  const Volume<double> v = testdata::noise<double>(voxels, 1.0, 6);
  Volume<double> gradient(edges, 0.0), change(edges, 7.0), slope(edges, 0.0);
  c.objective.linearise(b, gradient);
  c.objective.gradientOf(v, change);
  // u' J' W v with J u by central differences of the residuals.
  const double h = 1e-6;
  Volume<double> above(voxels, 0.0), below(voxels, 0.0);
  c.model.evaluate(b + u * h, above, slope);
  c.model.evaluate(b - u * h, below, slope);
  EXPECT_NEAR(dot(u, change), dot(c.objective.weight * v, (above - below) / (2 * h)),
              1e-6 * std::abs(dot(u, change)));
}

TEST(Objective, GradientOfTheResidualsIsTheDataGradient) {
  MassModel<double> model(image(1), image(2));
  Objective<double> objective(model, Roughness<double>(edges, {1.0, 2.0, 1.5}, 0.0, 0.0));
  objective.weight = weights();
  const Volume<double> b(edges, 0.3);  // no stretch: no barrier either
  Volume<double> gradient(edges, 0.0), change(edges, 0.0);
  objective.linearise(b, gradient);
  objective.gradientOf(objective.residuals(), change);
  for (int i = 0; i < b.size(); ++i)
    EXPECT_NEAR(change.data()[i], gradient.data()[i], 1e-12 * (1.0 + std::abs(change.data()[i])));
}

}  // namespace

}  // namespace mirel

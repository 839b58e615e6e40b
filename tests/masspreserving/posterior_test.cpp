#include "masspreserving/posterior.h"

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <algorithm>
#include <vector>

#include "masspreserving/masspreserving.h"
#include "masspreserving/testdata.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

// The matrix whose product with v is `product(v)`.
template <typename Product>
Eigen::MatrixXd matrixOf(glm::ivec3 size, Product product) {
  Volume<float> unit(size, 0.0F), column(size);
  Eigen::MatrixXd matrix(unit.size(), unit.size());
  for (int k = 0; k < unit.size(); ++k) {
    unit.data()[k] = 1.0F;
    product(unit, column);
    unit.data()[k] = 0.0F;
    for (int i = 0; i < unit.size(); ++i) matrix(i, k) = static_cast<double>(column.data()[i]);
  }
  return matrix;
}

TEST(RoughnessRoot, TimesItsTransposedIsTheForm) {
  const glm::ivec3 size(3, 4, 2);
  const Roughness<float> form(size, {1.5, 2.0, 3.0}, 2.0, 0.7);
  Eigen::MatrixXd sum = Eigen::MatrixXd::Zero(24, 24);
  // Each value of z alone in turn: 2 * 4 * 2 + 3 * 3 * 2 + 3 * 4 pairs, 24 voxels.
  for (int k = 0; k < 46 + 24; ++k) {
    Volume<float> column(size, 0.0F);
    int at = 0;
    form.addRoot([&] { return at++ == k ? 1.0F : 0.0F; }, column);
    EXPECT_EQ(at, 46 + 24);
    Eigen::VectorXd v(24);
    for (int i = 0; i < 24; ++i) v[i] = static_cast<double>(column.data()[i]);
    sum += v * v.transpose();
  }
  Volume<float> scratch(size);
  const Eigen::MatrixXd expected = matrixOf(
      size, [&](const Volume<float>& v, Volume<float>& out) { form.apply(v, out, scratch); });
  EXPECT_LT((sum - expected).cwiseAbs().maxCoeff(), 1e-4);
}

// Mean over a voxel and its neighbours, those off the grid replaced by the nearest one.
double blockMean(const std::vector<double>& values, glm::ivec3 size, glm::ivec3 p) {
  double sum = 0.0;
  for (int z = p.z - 1; z <= p.z + 1; ++z)
    for (int y = p.y - 1; y <= p.y + 1; ++y)
      for (int x = p.x - 1; x <= p.x + 1; ++x) {
        const int i =
            std::clamp(x, 0, size.x - 1) +
            size.x * (std::clamp(y, 0, size.y - 1) + size.y * std::clamp(z, 0, size.z - 1));
        sum += values[static_cast<std::size_t>(i)];
      }
  return sum / 27.0;
}

// The mean over all corners of the blocks of sum J'W r r'W J.
Eigen::MatrixXd blockScatter(const Objective<float>& objective, glm::ivec3 edges) {
  const Volume<float>& r = objective.residuals();
  const int n = edges.x * edges.y * edges.z;
  Eigen::MatrixXd sum = Eigen::MatrixXd::Zero(n, n);
  for (int corner = 0; corner < 27; ++corner)
    for (int block = 0; block < 27; ++block) {
      Volume<float> part(r.dimensions(), 0.0F), u(edges);
      for (int z = 0; z < r.nz(); ++z)
        for (int y = 0; y < r.ny(); ++y)
          for (int x = 0; x < r.nx(); ++x) {
            const glm::ivec3 k((x + corner % 3) / 3, (y + corner / 3 % 3) / 3,
                               (z + corner / 9) / 3);
            if (k.x + 3 * k.y + 9 * k.z == block) part.at(x, y, z) = r.at(x, y, z);
          }
      objective.gradientOf(part, u);
      const Eigen::VectorXd v = Eigen::Map<const Eigen::VectorXf>(u.data(), n).cast<double>();
      sum += v * v.transpose() / 27.0;
    }
  return sum;
}

/// A small problem, linearised at a field of noise.
struct Linearised {
  explicit Linearised(float weight)
      : objective(model, Roughness<float>(model.edges(), {1.0, 1.2, 1.5}, 3.0, 2.0)) {
    objective.weight *= weight;
    objective.linearise(b, gradient);
  }
  LineSolver<float> lines() const {
    return {objective.roughnessForm(), objective.blockDiagonal(), objective.blockNext()};
  }
  Eigen::MatrixXd hessian() {
    return matrixOf(model.edges(), [this](const Volume<float>& v, Volume<float>& out) {
      objective.product(v, out);
    });
  }

  const glm::ivec3 size{4, 6, 3};
  const Volume<float> first = testdata::noisyImage(size, 1), second = testdata::noisyImage(size, 2);
  const MassModel<float> model{first, second};
  const Volume<float> b = testdata::noise<float>(model.edges(), 0.1, 3);
  Volume<float> gradient{model.edges()};
  Objective<float> objective;
};

TEST(PosteriorVariance, IsTheDiagonalOfTheCovariance) {
  Linearised at(20.0F);
  const Volume<float> found = posteriorVariance(at.objective, at.objective, at.lines(), at.b,
                                                Volume<float>(at.size, 0.5F), 4000);
  const Eigen::MatrixXd hessian = at.hessian();
  const Eigen::MatrixXd ofData = matrixOf(
      at.model.edges(),
      [&](const Volume<float>& v, Volume<float>& out) { at.objective.dataProduct(v, out); });
  const Eigen::MatrixXd inverse = hessian.inverse();
  const Eigen::MatrixXd covariance =
      inverse * (hessian - ofData + blockScatter(at.objective, at.model.edges()) / 0.5) * inverse;
  std::vector<double> exact;
  for (int z = 0; z < at.size.z; ++z)
    for (int y = 0; y < at.size.y; ++y)
      for (int x = 0; x < at.size.x; ++x) {
        const int i = at.b.index(x, y, z), k = at.b.index(x, y + 1, z);
        exact.push_back(0.25 * (covariance(i, i) + 2.0 * covariance(i, k) + covariance(k, k)));
      }
  for (int z = 0; z < at.size.z; ++z)
    for (int y = 0; y < at.size.y; ++y)
      for (int x = 0; x < at.size.x; ++x) {
        const double expected = blockMean(exact, at.size, {x, y, z});
        EXPECT_NEAR(static_cast<double>(found.at(x, y, z)), expected, 0.08 * expected);
      }
}

TEST(PosteriorVariance, TheShareLeftIsThatBesideTheLeverage) {
  Linearised at(2.0F);
  const Volume<float> found = sharesLeft(at.objective, at.lines(), 4000);
  const Eigen::MatrixXd inverse = at.hessian().inverse();
  std::vector<double> exact;
  for (int i = 0; i < found.size(); ++i) {
    Volume<float> unit(at.size, 0.0F), u(at.model.edges());
    unit.data()[i] = 1.0F;
    at.objective.gradientOf(unit, u);
    const Eigen::VectorXd column =
        Eigen::Map<const Eigen::VectorXf>(u.data(), u.size()).cast<double>();
    const double weight = static_cast<double>(at.objective.weight.data()[i]);
    exact.push_back(1.0 - column.dot(inverse * column) / weight);
  }
  for (int z = 0; z < at.size.z; ++z)
    for (int y = 0; y < at.size.y; ++y)
      for (int x = 0; x < at.size.x; ++x)
        EXPECT_NEAR(static_cast<double>(found.at(x, y, z)), blockMean(exact, at.size, {x, y, z}),
                    0.02);
}

// The largest entries of a volume, in size.
float largest(const Volume<float>& values) {
  float result = 0.0F;
  for (int i = 0; i < values.size(); ++i) result = std::max(result, std::abs(values.data()[i]));
  return result;
}

TEST(WithoutSlopeNoise, EqualImagesKeepTheirSlopes) {
  const glm::ivec3 size{6, 8, 5};
  const Volume<float> image = testdata::noisyImage(size, 7);
  const MassModel<float> model(image, image);
  const Volume<float> b(model.edges(), 0.0F);
  Volume<float> gradient(model.edges());
  Objective<float> objective(model, Roughness<float>(model.edges(), glm::dvec3(1.0), 3.0, 2.0));
  objective.linearise(b, gradient);
  const Objective<float> clean = withoutSlopeNoise(objective, b);
  EXPECT_LT(largest(clean.lowSlopes() - objective.lowSlopes()), 1e-5F);
  EXPECT_LT(largest(clean.highSlopes() - objective.highSlopes()), 1e-5F);
  EXPECT_LT(largest(clean.blockDiagonal() - objective.blockDiagonal()),
            1e-4F * largest(objective.blockDiagonal()));
}

TEST(WithoutSlopeNoise, NothingButNoiseTellsLittle) {
  const glm::ivec3 size{24, 24, 24};
  const Volume<float> first = testdata::noise<float>(size, 1.0, 1),
                      second = testdata::noise<float>(size, 1.0, 2);
  const MassModel<float> model(first, second);
  const Volume<float> b(model.edges(), 0.0F);
  Volume<float> gradient(model.edges());
  Objective<float> objective(model, Roughness<float>(model.edges(), glm::dvec3(1.0), 3.0, 2.0));
  objective.linearise(b, gradient);
  const Objective<float> clean = withoutSlopeNoise(objective, b);
  const auto squares = [](const Objective<float>& of) {
    return dot(of.lowSlopes(), of.lowSlopes()) + dot(of.highSlopes(), of.highSlopes());
  };
  EXPECT_LT(squares(clean), 0.2 * squares(objective));
}

PhantomOptions smallHead() {
  PhantomOptions wanted;
  wanted.size = {48, 56, 32};
  wanted.voxelMm = glm::dvec3(4.5);
  wanted.maxShiftVoxels = 3.0;
  wanted.seed = 31;
  return wanted;
}

// Where the model holds the errors have the deviation that is told: in thirds of the brain by that
// deviation, and without any effect on the map itself.
TEST(PosteriorVariance, TellsTheErrorsOfASimulatedHead) {
  const PhantomOptions wanted = smallHead();
  const Phantom head = makePhantom(wanted);
  MassPreservingOptions options;
  options.uncertainty = true;
  const MassPreservingResult found =
      estimateMassPreserving(head.ap, head.pa, wanted.voxelMm, options);
  EXPECT_EQ(found.shiftVoxels,
            estimateMassPreserving(head.ap, head.pa, wanted.voxelMm).shiftVoxels);
  std::vector<std::pair<float, float>> told;  // deviation, error
  for (int i = 0; i < found.shiftVoxels.size(); ++i)
    if (head.brainMask.data()[i] != 0)
      told.emplace_back(found.deviationVoxels.data()[i],
                        found.shiftVoxels.data()[i] - head.shiftVoxels.data()[i]);
  std::sort(told.begin(), told.end());
  for (std::size_t third = 0; third < 3; ++third) {
    double expected = 0.0, errors = 0.0;
    for (std::size_t i = third * told.size() / 3; i < (third + 1) * told.size() / 3; ++i) {
      expected += static_cast<double>(told[i].first) * told[i].first;
      errors += static_cast<double>(told[i].second) * told[i].second;
    }
    EXPECT_NEAR(std::sqrt(errors / expected), 1.0, 0.25) << third;
  }
}

}  // namespace

}  // namespace mirel

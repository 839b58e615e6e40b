#include "masspreserving/motionstep.h"

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <cmath>
#include <numbers>

#include "masspreserving/massmodel.h"
#include "masspreserving/testdata.h"

namespace mirel {

namespace {

constexpr double degree = std::numbers::pi / 180.0;

// The derivatives of a pair's residuals at a motion and a displacement that are not zero.
class Residuals {
 public:
  Residuals()
      : place(placeOf(size, voxelMm, glm::ivec3(1))),
        pair(testdata::makePair(size, 2.0)),
        first(scaled(pair.first), place),
        second(scaled(pair.second), place),
        b(size.x, size.y + 1, size.z) {
    for (int z = 0; z < b.nz(); ++z)
      for (int j = 0; j < b.ny(); ++j)
        for (int x = 0; x < b.nx(); ++x) {
          const glm::dvec3 unit = (glm::dvec3(x, j - 0.5, z) - 0.5 * (glm::dvec3(size) - 1.0)) /
                                  (0.5 * glm::dvec3(size));
          b.at(x, j, z) = static_cast<float>(testdata::smoothShift(unit, 1.5));
        }
  }

  HalfWayPair at(const RigidMotion& motion) { return {first, second, motion, b}; }

  Volume<double> residualsAt(const RigidMotion& motion) {
    const HalfWayPair half = at(motion);
    const MassModel<double> model(half.first, half.second);
    Volume<double> wide(b.dimensions()), residual(size), slope(b.dimensions());
    for (int i = 0; i < b.size(); ++i) wide.data()[i] = static_cast<double>(b.data()[i]);
    model.evaluate(wide, residual, slope);
    return residual;
  }

  const glm::ivec3 size{32, 40, 28};
  const glm::dvec3 voxelMm{2.0, 2.5, 4.5};
  const GridPlace place;

 private:
  static Volume<float> scaled(const Volume<float>& image) { return image * 0.001F; }

  testdata::Pair pair;
  MovedImage first, second;

 public:
  Volume<float> b;
};

// Share of the squared size of `a` that `b` does not explain, inside the grid.
double unexplained(const Volume<double>& a, const Volume<float>& b) {
  double difference = 0.0, total = 0.0;
  for (int z = 3; z + 3 < a.nz(); ++z)
    for (int y = 3; y + 3 < a.ny(); ++y)
      for (int x = 3; x + 3 < a.nx(); ++x) {
        const double v = a.at(x, y, z), d = v - static_cast<double>(b.at(x, y, z));
        difference += d * d;
        total += v * v;
      }
  return difference / total;
}

TEST(MotionDerivatives, AreThoseOfTheResiduals) {
  Residuals residuals;
  const RigidMotion motion{{1.0, 0.0, -1.5}, {2.0, -1.5, 1.0}};
  const auto derivatives = motionDerivatives(residuals.at(motion), residuals.b, residuals.place);
  for (int p = 0; p < motionParameters; ++p) {
    MotionVector step = MotionVector::Zero();
    step[p] = p < 2 ? 0.05 : 0.05 * degree;
    const auto moved = [&](const MotionVector& by) {
      return residuals.residualsAt(motion.followedBy(translationOf(by), rotationOf(by)));
    };
    Volume<double> quotient = moved(step) - moved(-step);
    quotient /= 2.0 * step[p];
    // Gradients are difference quotients of voxels, and small changes of density are left out.
    const double rest = unexplained(quotient, derivatives[static_cast<std::size_t>(p)]);
    EXPECT_LT(rest, 0.02) << "parameter " << p;
    RecordProperty("unexplained" + std::to_string(p), std::to_string(rest));
  }
}

TEST(MotionParameters, AreTranslationsAlongXAndZAndARotationVector) {
  const MotionVector p{1.0, 2.0, 0.01, 0.02, 0.03};
  EXPECT_EQ(translationOf(p), glm::dvec3(1.0, 0.0, 2.0));
  EXPECT_EQ(rotationOf(p), glm::dvec3(0.01, 0.02, 0.03));
  const RigidMotion motion{translationOf(p), rotationOf(p) / degree};
  EXPECT_LT((parametersOf(motion) - p).norm(), 1e-12);
}

TEST(HalfWayPair, ExchangesItsImagesWithTheSignOfTheMotionAndOfTheDisplacement) {
  Residuals residuals;
  const RigidMotion motion{{1.0, 0.0, -1.5}, {2.0, -1.5, 1.0}};
  const testdata::Pair pair = testdata::makePair(residuals.size, 2.0);
  MovedImage one(pair.first, residuals.place), other(pair.second, residuals.place);
  const HalfWayPair there(one, other, motion, residuals.b),
      back(other, one, motion.inverse(), -residuals.b);
  EXPECT_LT(testdata::rmsWhere(there.first, back.second, pair.first, 0.0F), 1e-3);
  EXPECT_LT(testdata::rmsWhere(there.second, back.first, pair.first, 0.0F), 1e-3);
}

// A tiny system, with all its matrices dense.
struct Tiny {
  const glm::ivec3 voxels{5, 6, 4}, edges{5, 7, 4};
  MassModel<float> model{image(1), image(2)};
  Roughness<float> roughness{edges, {1.0, 1.3, 1.5}, 0.7, 0.4};
  Objective<float> objective{model, roughness};
  Volume<float> gradient{edges};
  std::array<Volume<float>, motionParameters> derivatives;
  const RigidMotion motion{{1.0, 0.0, -2.0}, {3.0, -4.0, 5.0}};
  Eigen::MatrixXd hessian, jacobian, d;
  Eigen::VectorXd g, r, w;

  Tiny() {
    objective.weight = testdata::noise<float>(voxels, 1.0, 9);
    for (int i = 0; i < objective.weight.size(); ++i)
      objective.weight.data()[i] = 0.5F + std::abs(objective.weight.data()[i]);
    objective.linearise(testdata::noise<float>(edges, 0.1F, 3), gradient);
    for (std::size_t p = 0; p < motionParameters; ++p)
      derivatives[p] = testdata::noise<float>(voxels, p < 2 ? 1.0 : 20.0, 20 + p);
    const int n = gradient.size(), m = objective.weight.size();
    g = vectorOf(gradient);
    r = vectorOf(objective.residuals());
    w = vectorOf(objective.weight);
    d.resize(m, motionParameters);
    for (int p = 0; p < motionParameters; ++p)
      d.col(p) = vectorOf(derivatives[static_cast<std::size_t>(p)]);
    hessian.resize(n, n);
    Volume<float> unit(edges, 0.0F), column(edges);
    for (int i = 0; i < n; ++i) {
      unit.data()[i] = 1.0F;
      objective.product(unit, column);
      unit.data()[i] = 0.0F;
      hessian.col(i) = vectorOf(column);
    }
    jacobian = Eigen::MatrixXd::Zero(m, n);
    const Volume<float>& low = objective.lowSlopes();
    const Volume<float>& high = objective.highSlopes();
    const Volume<float> edge(edges);
    for (int z = 0; z < voxels.z; ++z)
      for (int y = 0; y < voxels.y; ++y)
        for (int x = 0; x < voxels.x; ++x) {
          const int row = gradientRow(x, y, z);
          jacobian(row, edge.index(x, y, z)) = -static_cast<double>(low.at(x, y, z));
          jacobian(row, edge.index(x, y + 1, z)) = static_cast<double>(high.at(x, y, z));
        }
  }

  Volume<float> image(std::uint64_t stream) const {
    Volume<float> result = testdata::noise<float>(voxels, 0.3, stream);
    return result += 1.5F;
  }
  int gradientRow(int x, int y, int z) const { return (z * voxels.y + y) * voxels.x + x; }
  static Eigen::VectorXd vectorOf(const Volume<float>& volume) {
    Eigen::VectorXd v(volume.size());
    for (int i = 0; i < volume.size(); ++i) v[i] = static_cast<double>(volume.data()[i]);
    return v;
  }
  static MotionVector prior() {
    const double translation = 0.01, rotation = 0.01 / (degree * degree);
    return {translation, translation, rotation, rotation, rotation};
  }
  MotionResponse start(double sigma) const {
    MotionResponse response;
    for (std::size_t p = 0; p < motionParameters; ++p)
      response[p] = testdata::noise<float>(edges, sigma, 40 + p);
    return response;
  }
  MotionStep step(MotionResponse& response, double tolerance, int iterations) {
    const LineSolver<float> lines(roughness, objective.blockDiagonal(), objective.blockNext());
    return motionStep(objective, lines, gradient, derivatives, motion, response, tolerance,
                      iterations);
  }
};

// Once each: Eigen's products and solutions of large matrices take the compiler seconds.
Eigen::MatrixXd product(const Eigen::MatrixXd& a, const Eigen::MatrixXd& b) {
  return a.lazyProduct(b);
}
Eigen::MatrixXd transposedProduct(const Eigen::MatrixXd& a, const Eigen::MatrixXd& b) {
  return a.transpose().lazyProduct(b);
}
Eigen::MatrixXd solution(const Eigen::MatrixXd& h, const Eigen::MatrixXd& right) {
  return h.ldlt().solve(right);
}

double relativeDistance(const Eigen::MatrixXd& a, const Eigen::MatrixXd& b) {
  return (a - b).norm() / b.norm();
}

TEST(MotionStep, IsTheJointGaussNewtonStep) {
  Tiny tiny;
  MotionResponse response = tiny.start(0.0);
  const MotionStep step = tiny.step(response, 1e-7, 300);
  const int n = static_cast<int>(tiny.g.size());
  // Motion and displacement in one system.
  Eigen::MatrixXd joint(motionParameters + n, motionParameters + n);
  const Eigen::MatrixXd wd = tiny.w.asDiagonal() * tiny.d;
  const MotionMatrix prior = Tiny::prior().asDiagonal();
  joint.topLeftCorner(motionParameters, motionParameters) = transposedProduct(tiny.d, wd) + prior;
  joint.bottomLeftCorner(n, motionParameters) = transposedProduct(tiny.jacobian, wd);
  joint.topRightCorner(motionParameters, n) =
      joint.bottomLeftCorner(n, motionParameters).transpose();
  joint.bottomRightCorner(n, n) = tiny.hessian;
  Eigen::VectorXd right(motionParameters + n);
  right << transposedProduct(wd, tiny.r) + product(prior, parametersOf(tiny.motion)), tiny.g;
  const Eigen::VectorXd both = -solution(joint, right);
  // db of the joint step holds the step of b alone besides what follows the motion.
  const Eigen::VectorXd alone = -solution(tiny.hessian, tiny.g);
  EXPECT_LT(relativeDistance(step.change, both.head(motionParameters)), 1e-3);
  EXPECT_LT(relativeDistance(Tiny::vectorOf(step.shift), both.tail(n) - alone), 1e-3);
  const Eigen::MatrixXd a = transposedProduct(tiny.jacobian, wd);
  EXPECT_LT(relativeDistance(step.precision, transposedProduct(tiny.d, wd) + prior -
                                                 transposedProduct(a, solution(tiny.hessian, a))),
            1e-3);
}

// With responses Z that are not exact, b = -Z dp is followed all the same: curvature and gradient
// are those of that path.
TEST(MotionStep, IsThatOfThePathOfInexactResponses) {
  Tiny tiny;
  for (const double sigma : {0.0, 0.05})
    for (const int iterations : {0, 1, 4}) {
      MotionResponse response = tiny.start(sigma);
      const MotionStep step = tiny.step(response, 1e-7, iterations);
      EXPECT_EQ(step.solverIterations, iterations * motionParameters);
      Eigen::MatrixXd z(tiny.g.size(), motionParameters);
      for (int p = 0; p < motionParameters; ++p)
        z.col(p) = Tiny::vectorOf(response[static_cast<std::size_t>(p)]);
      const Eigen::MatrixXd wd = tiny.w.asDiagonal() * tiny.d;
      const Eigen::MatrixXd a = transposedProduct(tiny.jacobian, wd);
      const MotionMatrix prior = Tiny::prior().asDiagonal();
      const MotionMatrix curvature = transposedProduct(tiny.d, wd) + prior -
                                     transposedProduct(a, z) - transposedProduct(z, a) +
                                     transposedProduct(z, product(tiny.hessian, z));
      const MotionVector slope = transposedProduct(wd, tiny.r) - transposedProduct(z, tiny.g) +
                                 product(prior, parametersOf(tiny.motion));
      EXPECT_LT(relativeDistance(step.precision, curvature), 1e-4) << sigma << ", " << iterations;
      EXPECT_LT(relativeDistance(step.change, -solution(curvature, slope)), 1e-3);
      EXPECT_LT((Tiny::vectorOf(step.shift) + product(z, step.change)).norm(),
                1e-5 * (1.0 + product(z, step.change).norm()));
    }
}

TEST(MotionStep, ScattersTheGradientOfBlocks) {
  Tiny tiny;
  MotionResponse response = tiny.start(0.05);
  const MotionStep step = tiny.step(response, 1e-7, 2);
  Eigen::MatrixXd z(tiny.g.size(), motionParameters);
  for (int p = 0; p < motionParameters; ++p)
    z.col(p) = Tiny::vectorOf(response[static_cast<std::size_t>(p)]);
  // Contributions per voxel; then the voxels of each of 4 x 4 x 4 blocks together.
  const Eigen::MatrixXd each =
      (tiny.w.cwiseProduct(tiny.r)).asDiagonal() * (tiny.d - product(tiny.jacobian, z));
  Eigen::MatrixXd sums = Eigen::MatrixXd::Zero(64, motionParameters);
  const auto blockOf = [](int i, int n) {
    int block = 0;
    while (block < 3 && i >= (block + 1) * n / 4) ++block;
    return block;
  };
  for (int k = 0; k < tiny.voxels.z; ++k)
    for (int y = 0; y < tiny.voxels.y; ++y)
      for (int x = 0; x < tiny.voxels.x; ++x) {
        const int block = blockOf(x, tiny.voxels.x) + 4 * blockOf(y, tiny.voxels.y) +
                          16 * blockOf(k, tiny.voxels.z);
        sums.row(block) += each.row(tiny.gradientRow(x, y, k));
      }
  EXPECT_LT(relativeDistance(step.scatter, transposedProduct(sums, sums)), 1e-4);
}

TEST(MotionStep, WithoutSignalIsTheWayBackToNoMotion) {
  Tiny tiny;
  tiny.objective.weight.setAll(0.0F);
  tiny.objective.linearise(Volume<float>(tiny.edges, 0.0F), tiny.gradient);
  MotionResponse response = tiny.start(0.0);
  const MotionStep step = tiny.step(response, 0.05, 60);
  EXPECT_LT(relativeDistance(step.change, -parametersOf(tiny.motion)), 1e-9);
  EXPECT_EQ(step.shift, Volume<float>(tiny.edges, 0.0F));
}

TEST(ChiSquare, IsThatOfTheClusteredCovariance) {
  MotionStep step;
  Eigen::Matrix<double, motionParameters, 9> a, c;
  const Volume<double> random = testdata::noise<double>({5, 9, 2}, 1.0, 1);
  for (int i = 0; i < 45; ++i) {
    a(i % 5, i / 5) = random.data()[i];
    c(i % 5, i / 5) = random.data()[45 + i];
  }
  step.precision = a * a.transpose();
  step.scatter = c * c.transpose();
  const MotionVector p{0.3, -1.0, 2.0, 0.5, -0.7};
  const MotionMatrix inverse = step.precision.inverse();
  const MotionMatrix covariance = inverse * (step.scatter + step.precision) * inverse;
  const double expected = p.dot(covariance.inverse() * p);
  EXPECT_NEAR(chiSquareOf(p, step), expected, 1e-9 * expected);
  EXPECT_NEAR(chiSquareOf(2.0 * p, step), 4.0 * expected, 1e-8 * expected);
  // Independent noise: half of what the precision alone would say.
  step.scatter = step.precision;
  EXPECT_NEAR(chiSquareOf(p, step), 0.5 * p.dot(step.precision * p), 1e-9);
  EXPECT_EQ(chiSquareOf(MotionVector::Zero(), step), 0.0);
}

}  // namespace

}  // namespace mirel

#include "restore/pairrestorer.h"

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "containers/exchange.h"
#include "restore/lostdetail.h"
#include "support/random_volume.h"

namespace mirel {
namespace {

constexpr int n = 24;

// Stretches and compresses the column by up to 1.7 and 0.3.
Volume<float> wave(glm::ivec3 dims) {
  Volume<float> shift(dims);
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x)
        shift.at(x, y, z) =
            static_cast<float>(2.6 * std::sin(2 * M_PI * (y + 3 * x + 5 * z) / dims.y));
  return shift;
}

Eigen::MatrixXd denseOf(const Volume<float>& shift, int x, int z) {
  std::vector<double> column;
  for (int y = 0; y < shift.ny(); ++y) column.push_back(static_cast<double>(shift.at(x, y, z)));
  return columnMatrix(edgePlaces(column));
}

Eigen::VectorXd columnOf(const Volume<float>& image, int x, int z) {
  Eigen::VectorXd column(image.ny());
  for (int y = 0; y < image.ny(); ++y) column[y] = static_cast<double>(image.at(x, y, z));
  return column;
}

// The definition, with dense matrices.
Eigen::VectorXd reference(const Eigen::MatrixXd& k1, const Eigen::VectorXd& y1,
                          const Eigen::MatrixXd& k2, const Eigen::VectorXd& y2,
                          const RestoreWeights& weights) {
  const double w1 = 1 / weights.firstVariance, w2 = 1 / weights.secondVariance;
  Eigen::MatrixXd normal = w1 * k1.transpose() * k1 + w2 * k2.transpose() * k2 +
                           1e-6 * (w1 + w2) * Eigen::MatrixXd::Identity(k1.cols(), k1.cols());
  for (int j = 0; j < k1.cols(); ++j) {
    Eigen::VectorXd d = Eigen::VectorXd::Zero(k1.cols());
    d[std::max(j - 1, 0)] -= 1;
    d[j] += 2;
    d[std::min<int>(j + 1, static_cast<int>(k1.cols()) - 1)] -= 1;
    const double held =
        (w1 * (k1 * d).squaredNorm() + w2 * (k2 * d).squaredNorm()) / ((w1 + w2) * d.squaredNorm());
    normal += std::pow(1 - std::min(1.0, held), 0.25) / weights.roughness * d * d.transpose();
  }
  return normal.fullPivLu().solve(w1 * k1.transpose() * y1 + w2 * k2.transpose() * y2);
}

Volume<float> restored(const Volume<float>& first, const Volume<float>& second,
                       const Volume<float>& shift, int axis, const RestoreWeights& weights) {
  Volume<float> result;
  PairRestorer::Scratch scratch;
  PairRestorer(shift, -shift, axis, weights).restore(first, second, result, scratch);
  return result;
}

TEST(PairRestorer, SolvesTheLeastSquaresProblem) {
  const Volume<float> shift = wave({3, n, 2}), minus = -shift;
  const Volume<float> first = Random(1).volume({3, n, 2}, 0, 1),
                      second = Random(2).volume({3, n, 2}, 0, 1);
  const RestoreWeights weights{0.04, 0.09, 0.5};
  const Volume<float> found = restored(first, second, shift, 1, weights);
  for (int z = 0; z < 2; ++z)
    for (int x = 0; x < 3; ++x) {
      const Eigen::VectorXd expected =
          reference(denseOf(shift, x, z), columnOf(first, x, z), denseOf(minus, x, z),
                    columnOf(second, x, z), weights);
      EXPECT_LT((columnOf(found, x, z) - expected).cwiseAbs().maxCoeff(),
                2e-5 * expected.cwiseAbs().maxCoeff())
          << x << " " << z;
    }
}

TEST(PairRestorer, ReturnsTheUndistortedColumnOfExactImages) {
  const Volume<float> shift = wave({1, n, 1}), minus = -shift;
  Eigen::VectorXd truth(n);
  for (int y = 0; y < n; ++y) truth[y] = 100 * std::exp(-std::pow((y - 11.0) / 3, 2));
  Volume<float> first(1, n, 1), second(1, n, 1);
  const Eigen::VectorXd y1 = denseOf(shift, 0, 0) * truth, y2 = denseOf(minus, 0, 0) * truth;
  for (int y = 0; y < n; ++y) {
    first.at(0, y, 0) = static_cast<float>(y1[y]);
    second.at(0, y, 0) = static_cast<float>(y2[y]);
  }
  const Volume<float> found = restored(first, second, shift, 1, {1e-4, 1e-4, 1e4});
  EXPECT_LT((columnOf(found, 0, 0) - truth).cwiseAbs().maxCoeff(), 0.01);
}

TEST(PairRestorer, AveragesByTheNoiseWithoutDistortion) {
  const glm::ivec3 dims{2, n, 1};
  const Volume<float> first = Random(3).volume(dims, 0, 1), second = Random(4).volume(dims, 0, 1);
  const Volume<float> found = restored(first, second, Volume<float>(dims, 0.0f), 1, {1, 3, 1e-3});
  for (int i = 0; i < found.size(); ++i)
    EXPECT_NEAR(found.data()[i], 0.75f * first.data()[i] + 0.25f * second.data()[i], 1e-5f);
}

TEST(PairRestorer, WorksAlongAnyAxis) {
  const Volume<float> shift = wave({3, n, 2});
  const Volume<float> first = Random(5).volume({3, n, 2}, 0, 1),
                      second = Random(6).volume({3, n, 2}, 0, 1);
  const Volume<float> alongY = restored(first, second, shift, 1, {1, 1, 1});
  for (const int axis : {0, 2})
    EXPECT_EQ(exchangedWithY(restored(exchangedWithY(first, axis), exchangedWithY(second, axis),
                                      exchangedWithY(shift, axis), axis, {1, 1, 1}),
                             axis),
              alongY);
}

TEST(PairRestorer, RefusesWhatDoesNotFit) {
  const Volume<float> shift({1, n, 1}, 0.0f), other({1, n + 1, 1}, 0.0f);
  EXPECT_THROW(PairRestorer(shift, other, 1, {}), std::invalid_argument);
  EXPECT_THROW(PairRestorer(shift, shift, 1, {0, 1, 1}), std::invalid_argument);
  EXPECT_THROW(PairRestorer(shift, shift, 1, {1, 1, std::nan("")}), std::invalid_argument);
  Volume<float> nan({1, n, 1}, std::numeric_limits<float>::quiet_NaN());
  EXPECT_THROW(PairRestorer(nan, shift, 1, {}), std::invalid_argument);
  PairRestorer::Scratch scratch;
  Volume<float> result;
  EXPECT_THROW(PairRestorer(shift, shift, 1, {}).restore(other, other, result, scratch),
               std::logic_error);
}

TEST(PairRestorer, MeasuresWhatIsLeftByTheNoise) {
  const glm::ivec3 dims{40, n, 10};
  Random random(7);
  Volume<float> first(dims), second(dims), result;
  for (Volume<float>* image : {&first, &second})
    for (int i = 0; i < image->size(); ++i)
      image->data()[i] = 100 + (random.below(2) == 0 ? -2.0f : 2.0f);
  PairRestorer::Scratch scratch;
  const Volume<float> none(dims, 0.0f);
  const auto left = [&](const RestoreWeights& weights) {
    return PairRestorer(none, none, 1, weights).restore(first, second, result, scratch);
  };
  EXPECT_NEAR(left({4, 4, 1, 50}), 1, 0.03);
  EXPECT_EQ(left({4, 4, 1, 200}), 0);
  second += 8;  // half of it in each
  EXPECT_NEAR(left({4, 4, 1, 50}), 3, 0.03);
}

TEST(LostDetail, IsMostHalfWayBetweenVoxelsAndNothingOnThem) {
  const SparseRows differences = secondDifferences(n);
  const auto lostAt = [&](double shift) {
    const SparseRows k = columnMatrix(edgePlaces(std::vector<double>(n, shift)));
    SymmetricBand gram(n, widthOf(k));
    gram.addGram(k, 1);
    return lostDetail(gram, differences, 1.0)[9];
  };
  EXPECT_NEAR(lostAt(0), 0, 1e-3);
  EXPECT_NEAR(lostAt(1), 0, 1e-3);
  EXPECT_GT(lostAt(0.5), 0.85);
  EXPECT_DOUBLE_EQ(lostAt(n + 5), 1);
}

}  // namespace
}  // namespace mirel

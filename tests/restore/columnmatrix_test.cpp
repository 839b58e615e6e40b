#include "restore/columnmatrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <vector>

#include "masspreserving/columnintegral.h"
#include "phantom/distort.h"

namespace mirel {
namespace {

// Bulges of width 3 around some voxels: smooth on the scale of a voxel, 0 at the ends.
std::vector<double> bulges(int n) {
  std::vector<double> column;
  for (int j = 0; j < n; ++j)
    column.push_back(100 * std::exp(-std::pow((j - 0.3 * n) / 3.0, 2)) +
                     70 * std::exp(-std::pow((j - 0.6 * n) / 3.5, 2)));
  return column;
}

Eigen::VectorXd vectorOf(const std::vector<double>& values) {
  return Eigen::Map<const Eigen::VectorXd>(values.data(), static_cast<Eigen::Index>(values.size()));
}

std::vector<double> waves(int n, double height) {
  std::vector<double> shift;
  for (int j = 0; j < n; ++j) shift.push_back(height * std::sin(2 * M_PI * j / n));
  return shift;
}

TEST(ColumnMatrix, WithoutShiftIsUnit) {
  const SparseRows k = columnMatrix(edgePlaces(std::vector<double>(9, 0.0)));
  EXPECT_LT((Eigen::MatrixXd(k) - Eigen::MatrixXd::Identity(9, 9)).cwiseAbs().maxCoeff(), 1e-14);
}

TEST(ColumnMatrix, MovesByWholeVoxelsAndLosesWhatLeaves) {
  const SparseRows k = columnMatrix(edgePlaces(std::vector<double>(5, 2.0)));
  const Eigen::VectorXd moved = k * vectorOf({1, 2, 3, 4, 5});
  EXPECT_LT((moved - vectorOf({0, 0, 1, 2, 3})).cwiseAbs().maxCoeff(), 1e-12);
}

TEST(ColumnMatrix, ConservesSignalThroughFoldsToo) {
  for (const double height : {1.5, -3.0, 12.0}) {
    const std::vector<double> column = bulges(40);
    const Eigen::VectorXd acquired = columnMatrix(edgePlaces(waves(40, height))) * vectorOf(column);
    EXPECT_NEAR(acquired.sum(), vectorOf(column).sum(), 1e-3) << height;
  }
}

// Its columns are integrals of the same density over the acquired voxels' preimages.
TEST(ColumnMatrix, AgreesWithTheIntegralOfTheColumn) {
  const int n = 40;
  const std::vector<double> column = bulges(n);
  Volume<float> image(1, n, 1);
  for (int j = 0; j < n; ++j) image.at(0, j, 0) = static_cast<float>(column[std::size_t(j)]);
  const ColumnIntegral<double> integral(image);
  const auto signalBelow = [&](int edge, double shift) {
    double sum = 0, density = 0;
    integral.sampleRow(edge, 0, &shift, 1.0, &sum, &density);
    return sum;
  };
  const Eigen::VectorXd acquired =
      columnMatrix(edgePlaces(std::vector<double>(n, 0.3))) * vectorOf(column);
  for (int i = 3; i < n - 3; ++i)
    EXPECT_NEAR(acquired[i], signalBelow(i + 1, -0.3) - signalBelow(i, -0.3), 0.05) << i;
}

// The simulated heads are distorted by code of their own, in thirds of voxels.
TEST(ColumnMatrix, AgreesWithTheDistortionOfSimulatedHeads) {
  const int n = 60, cells = 40;
  const std::vector<double> shift = waves(n, 7.0);  // stretches by up to 1.73, hardly folds
  Volume<float> density(cells, n * cells, 1), map(1, n, 1);
  Eigen::VectorXd column = Eigen::VectorXd::Zero(n);
  for (int k = 0; k < n * cells; ++k) {
    const double y = (k + 0.5) / cells;
    const double value =
        100 * std::exp(-std::pow((y - 20) / 4.0, 2)) + 50 * std::exp(-std::pow((y - 40) / 5.0, 2));
    for (int x = 0; x < cells; ++x) density.at(x, k, 0) = static_cast<float>(value);
    column[k / cells] += value / cells;
  }
  for (int j = 0; j < n; ++j) map.at(0, j, 0) = static_cast<float>(shift[std::size_t(j)]);
  const Volume<float> expected = distort(density, map, PhaseEncodingAxis::y, cells);
  const Eigen::VectorXd acquired = columnMatrix(edgePlaces(shift)) * column;
  for (int i = 0; i < n; ++i) EXPECT_NEAR(acquired[i], expected.at(0, i, 0), 1.0) << i;
}

TEST(ColumnMatrix, RefusesEdgesThatAreNone) {
  EXPECT_THROW(columnMatrix(std::vector<double>{1.0}), std::invalid_argument);
  EXPECT_THROW(columnMatrix(std::vector<double>{0.0, std::nan("")}), std::invalid_argument);
}

}  // namespace
}  // namespace mirel

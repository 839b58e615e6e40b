#include "restore/symmetricband.h"

#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <stdexcept>

namespace mirel {

namespace {

SparseRows rows() {
  Eigen::MatrixXd dense = Eigen::MatrixXd::Zero(4, 5);
  dense << 1, 2, 0, 0, 0, 0, -3, 0, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5, 6;
  return dense.sparseView();
}

}  // namespace

TEST(SymmetricBand, IsTheSumOfWhatIsAdded) {
  const SparseRows a = rows();
  EXPECT_EQ(widthOf(a), 2);
  SymmetricBand band(5, 3);
  band.addGram(a, 0.5);
  band.addSquareOf(a, 1, 2);
  band.addToDiagonal(0.25);
  const Eigen::MatrixXd dense(a), row = dense.row(1);
  const Eigen::MatrixXd expected = 0.5 * dense.transpose() * dense + 2 * row.transpose() * row +
                                   0.25 * Eigen::MatrixXd::Identity(5, 5);
  for (int i = 0; i < 5; ++i)
    for (int j = 0; j < 5; ++j) EXPECT_DOUBLE_EQ(band.at(i, j), expected(i, j)) << i << " " << j;
  EXPECT_TRUE(Eigen::MatrixXd(band.lower())
                  .isApprox(Eigen::MatrixXd(expected.triangularView<Eigen::Lower>())));
}

TEST(SymmetricBand, HoldsNoMoreThanItsWidth) {
  SymmetricBand band(5, 1);
  EXPECT_THROW(band.addGram(rows(), 1), std::out_of_range);
  EXPECT_EQ(band.at(0, 4), 0);
  EXPECT_EQ(widthOf(SparseRows(3, 3)), 0);
  EXPECT_EQ(SymmetricBand(1, 7).lower().nonZeros(), 1);
}

}  // namespace mirel

#pragma once

#include <Eigen/SparseCore>
#include <cstddef>
#include <vector>

#include "restore/columnmatrix.h"

namespace mirel {

/// A symmetric matrix of n x n whose elements (i, j) are 0 beyond |i - j| = `width`.
class SymmetricBand {
 public:
  /// Zeros.
  SymmetricBand(int n, int width);

  int size() const { return n; }
  double at(int i, int j) const;

  /// Adds factor * rows' * rows. Throws std::out_of_range when that is wider (widthOf).
  void addGram(const SparseRows& rows, double factor);
  /// Adds factor times the product of one row's transposed with itself.
  void addSquareOf(const SparseRows& rows, int row, double factor);
  void addToDiagonal(double value);

  /// The lower triangle, all of its band, as the Cholesky factorisations of Eigen take it.
  Eigen::SparseMatrix<double> lower() const;

 private:
  std::size_t placeOf(int i, int j) const {
    return static_cast<std::size_t>(j) * static_cast<std::size_t>(width + 1) +
           static_cast<std::size_t>(i - j);
  }

  int n, width;
  std::vector<double> values;  // (i, j), i >= j, at j * (width + 1) + i - j
};

/// How far apart the first and last element of any row are, at most.
int widthOf(const SparseRows& rows);

}  // namespace mirel

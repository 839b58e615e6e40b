#include "restore/symmetricband.h"

#include <algorithm>
#include <stdexcept>

namespace mirel {

SymmetricBand::SymmetricBand(int size, int bandWidth)
    : n(size),
      width(std::min(bandWidth, std::max(size - 1, 0))),
      values(static_cast<std::size_t>(n) * static_cast<std::size_t>(width + 1)) {}

double SymmetricBand::at(int i, int j) const {
  const int low = std::min(i, j), high = std::max(i, j);
  if (high - low > width) return 0;
  return values[placeOf(high, low)];
}

void SymmetricBand::addGram(const SparseRows& rows, double factor) {
  if (widthOf(rows) > width) throw std::out_of_range("a matrix is wider than its band");
  for (int row = 0; row < rows.rows(); ++row) addSquareOf(rows, row, factor);
}

void SymmetricBand::addSquareOf(const SparseRows& rows, int row, double factor) {
  using Entry = SparseRows::InnerIterator;
  for (Entry a(rows, row); a; ++a) {
    const double scaled = a.value() * factor;
    for (Entry b(rows, row); b && b.col() <= a.col(); ++b)
      values[placeOf(static_cast<int>(a.col()), static_cast<int>(b.col()))] += scaled * b.value();
  }
}

void SymmetricBand::addToDiagonal(double value) {
  for (int i = 0; i < n; ++i) values[placeOf(i, i)] += value;
}

Eigen::SparseMatrix<double> SymmetricBand::lower() const {
  Eigen::SparseMatrix<double> matrix(n, n);
  matrix.reserve(static_cast<Eigen::Index>(values.size()));
  for (int j = 0; j < n; ++j) {
    matrix.startVec(j);
    for (int i = j; i < std::min(j + width + 1, n); ++i)
      matrix.insertBack(i, j) = values[placeOf(i, j)];
  }
  matrix.finalize();
  return matrix;
}

int widthOf(const SparseRows& rows) {
  int width = 0;
  for (int row = 0; row < rows.rows(); ++row) {
    SparseRows::InnerIterator entry(rows, row);
    if (!entry) continue;
    const auto first = entry.col();
    auto last = first;
    for (; entry; ++entry) last = entry.col();
    width = std::max(width, static_cast<int>(last - first));
  }
  return width;
}

}  // namespace mirel

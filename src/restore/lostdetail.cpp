#include "restore/lostdetail.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace mirel {

SparseRows secondDifferences(int n) {
  std::vector<Eigen::Triplet<double>> entries;
  for (int j = 0; j < n; ++j) {
    entries.emplace_back(j, std::max(j - 1, 0), -1.0);
    entries.emplace_back(j, j, 2.0);
    entries.emplace_back(j, std::min(j + 1, n - 1), -1.0);
  }
  SparseRows differences(n, n);
  differences.setFromTriplets(entries.begin(), entries.end());
  return differences;
}

Eigen::VectorXd lostDetail(const SparseRows& seen, const SparseRows& differences, double weight) {
  const Eigen::SparseMatrix<double> patterns = seen * differences.transpose();
  Eigen::VectorXd lost(differences.rows());
  for (int j = 0; j < lost.size(); ++j) {
    const double whole = differences.row(j).squaredNorm() * weight;
    const double held = whole > 0 ? patterns.col(j).squaredNorm() / whole : 1;
    lost[j] = std::sqrt(std::sqrt(1 - std::min(1.0, held)));
  }
  return lost;
}

}  // namespace mirel

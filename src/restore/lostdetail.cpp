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

Eigen::VectorXd lostDetail(const SymmetricBand& gram, const SparseRows& differences,
                           double weight) {
  using Entry = SparseRows::InnerIterator;
  Eigen::VectorXd lost(differences.rows());
  for (int j = 0; j < lost.size(); ++j) {
    double seen = 0, whole = 0;
    for (Entry a(differences, j); a; ++a) {
      whole += a.value() * a.value() * weight;
      for (Entry b(differences, j); b; ++b)
        seen +=
            a.value() * b.value() * gram.at(static_cast<int>(a.col()), static_cast<int>(b.col()));
    }
    const double held = whole > 0 ? std::clamp(seen / whole, 0.0, 1.0) : 1;
    lost[j] = std::sqrt(std::sqrt(1 - held));
  }
  return lost;
}

}  // namespace mirel

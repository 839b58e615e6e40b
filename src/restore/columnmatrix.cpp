#include "restore/columnmatrix.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "numerics/interpolation.h"

namespace mirel {

namespace {

using Entries = std::vector<Eigen::Triplet<double>>;

// The integral of the density from the lower edge of a voxel to t = 0 .. 1, as factors of the
// voxel's mean and of the densities at its edges.
struct Integral {
  double mean, lower, upper;
};
Integral integralTo(double t) {
  const double t2 = t * t, t3 = t2 * t;
  return {3 * t2 - 2 * t3, t - 2 * t2 + t3, t3 - t2};
}

class MatrixBuilder {
 public:
  explicit MatrixBuilder(int voxels) : n(voxels) {
    entries.reserve(12 * static_cast<std::size_t>(n));
  }

  // Voxel `cell`, whose edges fall on `from` and `to`.
  void addCell(int cell, double from, double to) {
    const double step = to - from;
    const auto voxelAt = [](double edge) { return static_cast<int>(std::floor(edge)); };
    if (std::abs(step) < 1e-12) {  // all in one place
      addPart(voxelAt(from), cell, 0, 1);
      return;
    }
    const double low = std::max(std::min(from, to), 0.0),
                 high = std::min(std::max(from, to), static_cast<double>(n));
    for (double start = low; start < high;) {
      const double stop = std::min(std::floor(start) + 1.0, high);
      const double a = (start - from) / step, b = (stop - from) / step;
      addPart(voxelAt(start), cell, std::min(a, b), std::max(a, b));
      start = stop;
    }
  }

  SparseRows matrix() const {
    SparseRows k(n, n);
    k.setFromTriplets(entries.begin(), entries.end());
    return k;
  }

 private:
  // What lies between t = a and b in `cell` falls into voxel `row`.
  void addPart(int row, int cell, double a, double b) {
    if (row < 0 || row >= n) return;
    const Integral to = integralTo(std::min(b, 1.0)), from = integralTo(std::max(a, 0.0));
    const double lower = (to.lower - from.lower) / 12, upper = (to.upper - from.upper) / 12;
    const auto add = [&](int offset, double factor) {
      entries.emplace_back(row, std::clamp(cell + offset, 0, n - 1), factor);
    };
    add(-2, -lower);
    add(-1, 7 * lower - upper);
    add(0, to.mean - from.mean + 7 * lower + 7 * upper);
    add(1, 7 * upper - lower);
    add(2, -upper);
  }

  int n;
  Entries entries;
};

}  // namespace

SparseRows columnMatrix(std::span<const double> edges) {
  if (edges.size() < 2) throw std::invalid_argument("a column has two edges or more");
  if (!std::all_of(edges.begin(), edges.end(), [](double edge) { return std::isfinite(edge); }))
    throw std::invalid_argument("an edge of a column is not finite");
  const int n = static_cast<int>(edges.size()) - 1;
  MatrixBuilder builder(n);
  for (int j = 0; j < n; ++j) {
    const auto at = static_cast<std::size_t>(j);
    builder.addCell(j, edges[at], edges[at + 1]);
  }
  return builder.matrix();
}

std::vector<double> edgePlaces(std::span<const double> shift) {
  const int n = static_cast<int>(shift.size());
  const auto at = [&](int j) { return shift[static_cast<std::size_t>(std::clamp(j, 0, n - 1))]; };
  std::vector<double> edges;
  edges.reserve(shift.size() + 1);
  for (int j = 0; j <= n; ++j)
    edges.push_back(j + cubicConvolution(at(j - 2), at(j - 1), at(j), at(j + 1), 0.5));
  return edges;
}

}  // namespace mirel

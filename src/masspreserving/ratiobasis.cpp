#include "masspreserving/ratiobasis.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "masspreserving/noise.h"

namespace mirel {

template <typename Real>
RatioBasis<Real>::RatioBasis(glm::ivec3 gridVoxels, glm::dvec3 voxelPart, int highest, int knots,
                             double step, CoarseGrid nearbyNodes, Parallel inThreads)
    : parallel(std::move(inThreads)),
      voxels(gridVoxels),
      degree(highest),
      knotCount(knots),
      knotStep(step),
      alongX(tableOf(gridVoxels.x, voxelPart.x, highest)),
      alongY(tableOf(gridVoxels.y, voxelPart.y, highest)),
      alongZ(tableOf(gridVoxels.z, voxelPart.z, highest)),
      nearby(std::move(nearbyNodes)),
      gate(gridVoxels, Real(1)),
      knotPlace(gridVoxels, Real(0)) {
  for (int k = 0; k <= degree; ++k)
    for (int j = 0; j + k <= degree; ++j)
      for (int i = 0; i + j + k <= degree; ++i) degrees.push_back({i, j, k});
}

template <typename Real>
auto RatioBasis<Real>::tableOf(int count, double voxelPart, int highest) -> Table {
  Table table(static_cast<std::size_t>(highest + 1),
              std::vector<Real>(static_cast<std::size_t>(count), Real(1)));
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    const double u = std::clamp(2.0 * (static_cast<double>(i) + 0.5) * voxelPart - 1.0, -1.0, 1.0);
    double before = 0.0, now = 1.0;
    for (int n = 0; n < highest; ++n) {
      const double next = ((2 * n + 1) * u * now - n * before) / (n + 1);
      before = now;
      now = next;
      table[static_cast<std::size_t>(n) + 1][i] = static_cast<Real>(now);
    }
  }
  return table;
}

template <typename Real>
void RatioBasis<Real>::setIntensities(const Volume<Real>& intensity, double noiseVariance) {
  Volume<Real> positive(intensity.dimensions()), squares(intensity.dimensions());
  inElements(parallel, intensity.size(), [&](int from, int to) {
    for (int i = from; i < to; ++i) {
      const Real t = std::max(intensity.data()[i], Real(0)), u = t * t;
      positive.data()[i] = t;
      squares.data()[i] = u;
      gate.data()[i] = static_cast<Real>(aboveNoise(static_cast<double>(t), noiseVariance));
    }
  });
  if (knotCount == 0) return;
  const std::vector<double> sums = nearby.project(positive);
  std::vector<double> level = nearby.project(squares);
  double sum = 0.0, square = 0.0;
  for (std::size_t k = 0; k < level.size(); ++k) {
    sum += sums[k];
    square += level[k];
  }
  if (!(sum > 0.0)) return;
  // A node with hardly any signal near by takes the level of the whole.
  const double whole = square / sum, little = 0.05 * sum / static_cast<double>(level.size());
  for (std::size_t k = 0; k < level.size(); ++k)
    level[k] = (level[k] + little * whole) / (sums[k] + little);
  nearby.expand(level, squares);
  const Real perKnot = static_cast<Real>(1.0 / knotStep), last = static_cast<Real>(knotCount - 1);
  for (int i = 0; i < intensity.size(); ++i) {
    const Real place = positive.data()[i] / squares.data()[i] * perKnot;
    // An index, of what is no number, too.
    knotPlace.data()[i] = place > Real(0) ? std::min(place, last) : Real(0);
  }
}

template <typename Real>
void RatioBasis<Real>::expand(const Eigen::VectorXd& coefficients, Volume<Real>& a) const {
  const int nx = voxels.x;
  const double* ofKnots = coefficients.data() + shapes();
  const auto expandRow = [&](int y, int z, Real* row) {
    std::vector<double> sums(static_cast<std::size_t>(degree + 1), 0.0);
    for (std::size_t k = 0; k < degrees.size(); ++k)
      sums[static_cast<std::size_t>(degrees[k][0])] +=
          coefficients[static_cast<int>(k)] *
          static_cast<double>(
              alongY[static_cast<std::size_t>(degrees[k][1])][static_cast<std::size_t>(y)]) *
          static_cast<double>(
              alongZ[static_cast<std::size_t>(degrees[k][2])][static_cast<std::size_t>(z)]);
    std::fill(row, row + nx, static_cast<Real>(sums[0]));
    for (std::size_t i = 1; i < sums.size(); ++i) {
      const Real factor = static_cast<Real>(sums[i]);
      const Real* p = alongX[i].data();
      for (int x = 0; x < nx; ++x) row[x] += factor * p[x];
    }
    const Real* place = knotPlace.data() + knotPlace.index(0, y, z);
    for (int x = 0; x < nx && knotCount > 0; ++x) {
      const int knot = static_cast<int>(place[x]), next = std::min(knot + 1, knotCount - 1);
      row[x] += static_cast<Real>(ofKnots[knot] + (static_cast<double>(place[x]) - knot) *
                                                      (ofKnots[next] - ofKnots[knot]));
    }
    const Real* reach = gate.data() + gate.index(0, y, z);
    for (int x = 0; x < nx; ++x) row[x] *= reach[x];
  };
  inSlices(parallel, voxels, [&](int from, int to) {
    for (int z = from; z < to; ++z)
      for (int y = 0; y < voxels.y; ++y) expandRow(y, z, a.data() + a.index(0, y, z));
  });
}

// The sums along a row with each polynomial of x.
template <typename Real>
void RatioBasis<Real>::projectRow(const Volume<Real>& v, int row, double* ofX) const {
  const int nx = voxels.x;
  const Real* values = v.data() + row * nx;
  const Real* reach = gate.data() + row * nx;
  for (std::size_t i = 0; i < alongX.size(); ++i) {
    const Real* p = alongX[i].data();
    Real parts[8] = {};
    int x = 0;
    for (; x + 8 <= nx; x += 8)
      for (int k = 0; k < 8; ++k) {
        const int at = x + k;
        parts[k] += values[at] * reach[at] * p[at];
      }
    for (; x < nx; ++x) parts[0] += values[x] * reach[x] * p[x];
    double sum = 0.0;
    for (const Real part : parts) sum += static_cast<double>(part);
    ofX[i] = sum;
  }
}

// Adds the sums with the knots' hats, voxel after voxel.
template <typename Real>
void RatioBasis<Real>::addKnots(const Volume<Real>& v, double* ofKnots) const {
  for (int i = 0; i < v.size(); ++i) {
    const Real gated = v.data()[i] * gate.data()[i];
    const int knot = static_cast<int>(knotPlace.data()[i]);
    const double value = static_cast<double>(gated);
    const double upper = (static_cast<double>(knotPlace.data()[i]) - knot) * value;
    ofKnots[knot] += value - upper;
    ofKnots[knot + 1] += upper;
  }
}

template <typename Real>
Eigen::VectorXd RatioBasis<Real>::project(const Volume<Real>& v) const {
  Eigen::VectorXd sums = Eigen::VectorXd::Zero(size() + 1);
  const std::size_t n = alongX.size();
  std::vector<double> ofRows(n * static_cast<std::size_t>(voxels.y * voxels.z));
  // The knots' sums are one part, which takes longest, beside those of the slices.
  const int rows = voxels.y * voxels.z, rowsAtOnce = piecesAtOnce(voxels.x);
  inRanges(parallel, 1 + (rows + rowsAtOnce - 1) / rowsAtOnce, 1, [&](int part, int) {
    if (part == 0 && knotCount > 0) addKnots(v, sums.data() + shapes());
    const int end = std::min(part * rowsAtOnce, rows);
    for (int row = std::max((part - 1) * rowsAtOnce, 0); row < end; ++row)
      projectRow(v, row, ofRows.data() + n * static_cast<std::size_t>(row));
  });
  const double* ofX = ofRows.data();
  for (int z = 0; z < voxels.z; ++z)
    for (int y = 0; y < voxels.y; ++y, ofX += n)
      for (std::size_t k = 0; k < degrees.size(); ++k)
        sums[static_cast<int>(k)] +=
            ofX[static_cast<std::size_t>(degrees[k][0])] *
            static_cast<double>(
                alongY[static_cast<std::size_t>(degrees[k][1])][static_cast<std::size_t>(y)]) *
            static_cast<double>(
                alongZ[static_cast<std::size_t>(degrees[k][2])][static_cast<std::size_t>(z)]);
  return sums.head(size());
}

template <typename Real>
Eigen::MatrixXd RatioBasis<Real>::gram(const Volume<Real>& w) const {
  const int nx = voxels.x, n = degree + 1;
  Eigen::MatrixXd sums = Eigen::MatrixXd::Zero(size() + 1, size() + 1);
  Eigen::MatrixXd ofX(n, n), withKnots(n, knotCount + 1), table(n, nx);
  for (int i = 0; i < n; ++i)
    for (int x = 0; x < nx; ++x)
      table(i, x) =
          static_cast<double>(alongX[static_cast<std::size_t>(i)][static_cast<std::size_t>(x)]);
  std::vector<double> lateral(degrees.size());
  for (int z = 0; z < voxels.z; ++z)
    for (int y = 0; y < voxels.y; ++y) {
      ofX.setZero();
      withKnots.setZero();
      const int row = w.index(0, y, z);
      for (int x = 0; x < nx; ++x) {
        const double reach = static_cast<double>(gate.data()[row + x]);
        const double value = reach * reach * static_cast<double>(w.data()[row + x]);
        if (value == 0.0) continue;
        for (int i = 0; i < n; ++i)
          for (int k = 0; k <= i; ++k) ofX(k, i) += value * table(i, x) * table(k, x);
        if (knotCount == 0) continue;
        const double at = static_cast<double>(knotPlace.data()[row + x]);
        const int knot = static_cast<int>(at);
        const double t = at - knot;
        withKnots.col(knot) += (1.0 - t) * value * table.col(x);
        withKnots.col(knot + 1) += t * value * table.col(x);
        const int first = shapes() + knot;
        sums(first, first) += (1.0 - t) * (1.0 - t) * value;
        sums(first, first + 1) += t * (1.0 - t) * value;
        sums(first + 1, first + 1) += t * t * value;
      }
      for (std::size_t k = 0; k < degrees.size(); ++k)
        lateral[k] =
            static_cast<double>(
                alongY[static_cast<std::size_t>(degrees[k][1])][static_cast<std::size_t>(y)]) *
            static_cast<double>(
                alongZ[static_cast<std::size_t>(degrees[k][2])][static_cast<std::size_t>(z)]);
      for (int k = 0; k < shapes(); ++k) {
        const int dk = degrees[static_cast<std::size_t>(k)][0];
        const double side = lateral[static_cast<std::size_t>(k)];
        for (int l = k; l < shapes(); ++l) {
          const int dl = degrees[static_cast<std::size_t>(l)][0];
          sums(k, l) +=
              side * lateral[static_cast<std::size_t>(l)] * ofX(std::min(dk, dl), std::max(dk, dl));
        }
        sums.row(k).segment(shapes(), knotCount + 1) += side * withKnots.row(dk);
      }
    }
  const Eigen::MatrixXd upper = sums.topLeftCorner(size(), size());
  return upper.selfadjointView<Eigen::Upper>();
}

template <typename Real>
Eigen::VectorXd RatioBasis<Real>::shapeRoughness() const {
  Eigen::VectorXd form(shapes());
  for (int k = 0; k < shapes(); ++k) {
    const auto& d = degrees[static_cast<std::size_t>(k)];
    const int total = d[0] + d[1] + d[2];
    form[k] = total * total;
  }
  return form;
}

template <typename Real>
Eigen::MatrixXd RatioBasis<Real>::knotRoughness() const {
  Eigen::MatrixXd form = Eigen::MatrixXd::Zero(knotCount, knotCount);
  for (int k = 0; k + 1 < knotCount; ++k) {
    form(k, k) += 1.0;
    form(k + 1, k + 1) += 1.0;
    form(k, k + 1) -= 1.0;
    form(k + 1, k) -= 1.0;
  }
  return form;
}

template class RatioBasis<float>;
template class RatioBasis<double>;

}  // namespace mirel

#include "restore/pairrestorer.h"

#include <Eigen/SparseCholesky>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "containers/exchange.h"
#include "restore/lostdetail.h"

namespace mirel {

namespace {

using Band = Eigen::SparseMatrix<double>;
using Factor = Eigen::SimplicialLLT<Band, Eigen::Lower, Eigen::NaturalOrdering<int>>;

constexpr double unitPart = 1e-6;

// What all columns have in common.
struct Common {
  explicit Common(int n, const RestoreWeights& known)
      : weights(known),
        weightSum(1 / known.firstVariance + 1 / known.secondVariance),
        differences(secondDifferences(n)),
        transposed(differences.transpose()) {}

  RestoreWeights weights;
  double weightSum;
  SparseRows differences, transposed;
};

// One matrix above the other, divided by a number each.
SparseRows stacked(const SparseRows& first, double byFirst, const SparseRows& second,
                   double bySecond) {
  SparseRows both(first.rows() + second.rows(), first.cols());
  both.topRows(first.rows()) = first / byFirst;
  both.bottomRows(second.rows()) = second / bySecond;
  return both;
}

// What is left of acquired columns, in noise's variances.
class Residuals {
 public:
  Residuals(const RestoreWeights& known, int voxels) : weights(known), n(voxels) {}

  // `expected` is K x / v. Returns the squares, in noise's variances.
  const Eigen::VectorXf& add(const Eigen::VectorXf& acquired, const Eigen::VectorXf& expected) {
    squares.resize(2 * n);
    for (int i = 0; i < 2 * n; ++i) {
      const double value = static_cast<double>(acquired[i]);
      const double variance = i < n ? weights.firstVariance : weights.secondVariance;
      const double left = value / variance - static_cast<double>(expected[i]);
      const double square = left * left * variance;
      squares[i] = static_cast<float>(square);
      if (!(value > weights.head)) continue;
      sum += square;
      ++count;
    }
    return squares;
  }
  double value() const { return count > 0 ? std::sqrt(2 * sum / static_cast<double>(count)) : 0; }

 private:
  const RestoreWeights& weights;
  int n;
  Eigen::VectorXf squares;
  double sum = 0;
  std::int64_t count = 0;
};

SparseRows matrixOfColumn(const Volume<float>& shift, int x, int z) {
  std::vector<double> column;
  column.reserve(static_cast<std::size_t>(shift.ny()));
  for (int y = 0; y < shift.ny(); ++y) column.push_back(static_cast<double>(shift.at(x, y, z)));
  return columnMatrix(edgePlaces(column));
}

bool isPositive(double value) { return value > 0 && std::isfinite(value); }

void check(const Volume<float>& firstShift, const Volume<float>& secondShift,
           const RestoreWeights& weights) {
  if (firstShift.dimensions() != secondShift.dimensions())
    throw std::invalid_argument("the shifts of two images have different dimensions");
  if (!isPositive(weights.firstVariance) || !isPositive(weights.secondVariance) ||
      !isPositive(weights.roughness))
    throw std::invalid_argument("variances and roughness are above 0");
}

}  // namespace

struct PairRestorer::Column {
  Column(const SparseRows& first, const SparseRows& second, const Common& common) {
    const RestoreWeights& known = common.weights;
    const SparseRows seen =
        stacked(first, std::sqrt(known.firstVariance), second, std::sqrt(known.secondVariance));
    const SparseRows gram = SparseRows(seen.transpose()) * seen;
    const SparseRows& differences = common.differences;
    const Eigen::VectorXd prior = lostDetail(gram, differences, common.weightSum) / known.roughness;
    const SparseRows rough = prior.asDiagonal() * differences;
    factor = std::make_unique<Factor>();
    factor->setShift(unitPart * common.weightSum);
    factor->compute(Band(gram) + Band(common.transposed * rough));
    if (factor->info() != Eigen::Success)
      throw std::logic_error("the normal equations of a column have no Cholesky factor");
    transposed =
        stacked(first, known.firstVariance, second, known.secondVariance).transpose().cast<float>();
  }

  // Of an undistorted voxel: the mean of what the acquired ones it falls into have, by its parts.
  double meanOver(const Eigen::VectorXf& acquired, int voxel, double ifNone) const {
    double sum = 0, parts = 0;
    for (decltype(transposed)::InnerIterator entry(transposed, voxel); entry; ++entry) {
      const double part = std::abs(static_cast<double>(entry.value()));
      sum += part * static_cast<double>(acquired[entry.col()]);
      parts += part;
    }
    return parts > 0 ? sum / parts : ifNone;
  }

  // K1' / v1 beside K2' / v2
  Eigen::SparseMatrix<float, Eigen::RowMajor> transposed;
  std::unique_ptr<Factor> factor;
};

PairRestorer::~PairRestorer() = default;

PairRestorer::PairRestorer(const Volume<float>& firstShift, const Volume<float>& secondShift,
                           int alongAxis, const RestoreWeights& known)
    : axis(alongAxis), weights(known) {
  check(firstShift, secondShift, weights);
  const AlongY<float> first(firstShift, axis), second(secondShift, axis);
  size = first->dimensions();
  const Common common(size.y, weights);
  columns.reserve(static_cast<std::size_t>(size.x) * static_cast<std::size_t>(size.z));
  for (int z = 0; z < size.z; ++z)
    for (int x = 0; x < size.x; ++x)
      columns.emplace_back(matrixOfColumn(*first, x, z), matrixOfColumn(*second, x, z), common);
}

double PairRestorer::restore(const Volume<float>& first, const Volume<float>& second,
                             Volume<float>& result, Scratch& scratch) const {
  const bool alongY = axis == 1;
  if (!alongY) {
    exchangeWithY(first, axis, scratch.first);
    exchangeWithY(second, axis, scratch.second);
  }
  const Volume<float>& one = alongY ? first : scratch.first;
  const Volume<float>& other = alongY ? second : scratch.second;
  if (one.dimensions() != size || other.dimensions() != size)
    throw std::logic_error("the images and their maps have different dimensions");
  Volume<float>& joined = alongY ? result : scratch.out;
  Volume<float>& misfit = alongY ? scratch.misfit : scratch.misfitAlongY;
  for (Volume<float>* image : {&joined, &misfit})
    if (image->dimensions() != size || image->data() == nullptr) *image = Volume<float>(size);
  Eigen::VectorXf acquired(2 * size.y);
  Residuals residuals(weights, size.y);
  auto column = columns.begin();
  for (int z = 0; z < size.z; ++z)
    for (int x = 0; x < size.x; ++x, ++column) {
      for (int y = 0; y < size.y; ++y) {
        acquired[y] = one.at(x, y, z);
        acquired[size.y + y] = other.at(x, y, z);
      }
      const Eigen::VectorXf seen = column->transposed * acquired;
      const Eigen::VectorXd solution = column->factor->solve(seen.cast<double>());
      const Eigen::VectorXf& squares =
          residuals.add(acquired, column->transposed.transpose() * solution.cast<float>());
      for (int y = 0; y < size.y; ++y) {
        joined.at(x, y, z) = static_cast<float>(solution[y]);
        misfit.at(x, y, z) = static_cast<float>(2 * column->meanOver(squares, y, 0.5));
      }
    }
  if (!alongY) {
    exchangeWithY(joined, axis, result);
    exchangeWithY(misfit, axis, scratch.misfit);
  }
  return residuals.value();
}

}  // namespace mirel

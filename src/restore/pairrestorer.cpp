#include "restore/pairrestorer.h"

#include <Eigen/SparseCholesky>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "containers/exchange.h"
#include "restore/lostdetail.h"
#include "restore/symmetricband.h"

namespace mirel {

namespace {

using Factor =
    Eigen::SimplicialLLT<Eigen::SparseMatrix<double>, Eigen::Lower, Eigen::NaturalOrdering<int>>;
using FloatRows = Eigen::SparseMatrix<float, Eigen::RowMajor>;

constexpr double unitPart = 1e-6;

// What all columns have in common.
struct Common {
  explicit Common(int n, const RestoreWeights& known)
      : weights(known),
        weightSum(1 / known.firstVariance + 1 / known.secondVariance),
        differences(secondDifferences(n)) {}

  RestoreWeights weights;
  double weightSum;
  SparseRows differences;
};

// One matrix above the other, divided by a number each.
FloatRows stacked(const SparseRows& first, double byFirst, const SparseRows& second,
                  double bySecond) {
  FloatRows both(first.rows() + second.rows(), first.cols());
  both.reserve(first.nonZeros() + second.nonZeros());
  for (int row = 0; row < both.rows(); ++row) {
    const bool isFirst = row < first.rows();
    const double by = isFirst ? byFirst : bySecond;
    both.startVec(row);
    for (SparseRows::InnerIterator entry(isFirst ? first : second,
                                         isFirst ? row : row - first.rows());
         entry; ++entry)
      both.insertBack(row, entry.col()) = static_cast<float>(entry.value() / by);
  }
  both.finalize();
  return both;
}

// The normal equations of a column.
SymmetricBand normalEquations(const SparseRows& first, const SparseRows& second,
                              const Common& common) {
  const RestoreWeights& known = common.weights;
  const SparseRows& differences = common.differences;
  SymmetricBand matrix(static_cast<int>(first.cols()),
                       std::max({widthOf(first), widthOf(second), widthOf(differences)}));
  matrix.addGram(first, 1 / known.firstVariance);
  matrix.addGram(second, 1 / known.secondVariance);
  const Eigen::VectorXd prior = lostDetail(matrix, differences, common.weightSum) / known.roughness;
  for (int j = 0; j < matrix.size(); ++j) matrix.addSquareOf(differences, j, prior[j]);
  matrix.addToDiagonal(unitPart * common.weightSum);
  return matrix;
}

// What is left of acquired columns, in noise's variances.
class Residuals {
 public:
  Residuals(const RestoreWeights& known, int voxels) : weights(known), n(voxels) {}

  // `expected` is K x / v. Returns the squares, in noise's variances.
  const Eigen::VectorXf& add(const Eigen::VectorXf& acquired, const Eigen::VectorXf& expected) {
    squares.resize(acquired.size());
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
  Column(const SparseRows& first, const SparseRows& second, const Common& common)
      : factor(std::make_unique<Factor>()),
        transposed(
            stacked(first, common.weights.firstVariance, second, common.weights.secondVariance)
                .transpose()) {
    factor->compute(normalEquations(first, second, common).lower());
    if (factor->info() != Eigen::Success)
      throw std::logic_error("the normal equations of a column have no Cholesky factor");
  }

  // Of an undistorted voxel: the mean of what the acquired ones it falls into have, by its parts.
  float meanOver(const Eigen::VectorXf& acquired, int voxel, float ifNone) const {
    float sum = 0, parts = 0;
    for (FloatRows::InnerIterator entry(transposed, voxel); entry; ++entry) {
      const float part = std::abs(entry.value());
      sum += part * acquired[entry.col()];
      parts += part;
    }
    return parts > 0 ? sum / parts : ifNone;
  }

  std::unique_ptr<Factor> factor;
  FloatRows transposed;  // K1' / v1 beside K2' / v2
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
        misfit.at(x, y, z) = 2 * column->meanOver(squares, y, 0.5F);
      }
    }
  if (!alongY) {
    exchangeWithY(joined, axis, result);
    exchangeWithY(misfit, axis, scratch.misfit);
  }
  return residuals.value();
}

}  // namespace mirel

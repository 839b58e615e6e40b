#include "pair/pairfigures.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "numerics/difference.h"
#include "numerics/statistics.h"
#include "pair/columns.h"
#include "pair/foreground.h"

namespace mirel {

namespace {

constexpr double rayleighQuartiles = 0.4189;  // q50 - q25 for a standard deviation of 1 per part

double squareOf(double v) { return v * v; }

double rootOfRatio(double numerator, double denominator) {
  return denominator > 0 ? std::sqrt(numerator / denominator) : 0;
}

double beyond(double found, double noise) {
  return std::sqrt(std::max(found * found - noise * noise, 0.0));
}

double noiseSigma(const Volume<float>& image) {
  const float threshold = static_cast<float>(headThreshold(image));
  std::vector<float> air;
  std::copy_if(image.data(), image.data() + image.size(), std::back_inserter(air),
               [threshold](float v) { return v <= threshold; });
  if (air.empty()) return 0;
  const float half = quantile(air, 0.5);
  return static_cast<double>(half - quantile(air, 0.25)) / rayleighQuartiles;
}

double totalOf(const Volume<float>& image, const Columns& columns, int start) {
  return columns.total(start, [&](int i) { return static_cast<double>(image.data()[i]); });
}

// The part of a column's corrected signal that the weights take.
double countedPart(const PairToMeasure& pair, const Columns& columns, int start) {
  if (pair.weights == nullptr) return 1;
  const auto signal = [&](int i) {
    return std::max(static_cast<double>(pair.correctedFirst.data()[i]), 0.0);
  };
  const double all = columns.total(start, signal);
  const double counted = columns.total(start, [&](int i) { return pair.weightOf(i) * signal(i); });
  return all > 0 ? counted / all : 0;
}

void measureTotals(const PairToMeasure& pair, double ratio, double noiseVariance,
                   PairFigures& figures) {
  const Columns columns(pair.first.dimensions(), pair.axis);
  double difference = 0, all = 0, voxels = 0;
  for (const int start : columns.first) {
    const double a = totalOf(pair.first, columns, start);
    const double b = ratio * totalOf(pair.second, columns, start);
    const double part = countedPart(pair, columns, start);
    difference += part * squareOf(a - b);
    all += part * squareOf(0.5 * (a + b));
    voxels += part * columns.length;
  }
  figures.columnTotals = rootOfRatio(difference, all);
  figures.columnTotalsOfNoise = rootOfRatio(noiseVariance * voxels, all);
}

// Slices with less than this part of the mean slice's squared signal say nothing of their own, nor
// do those with less than that part of its total of what one image may have lost.
constexpr double hardlyAnything = 0.05, hardlyAnyTotal = 0.02;
constexpr double leastReached = 0.5;  // of the head: a motion beyond that is judged by all of it
constexpr double lostPart = 0.25;     // of the other image's total is left at most

// Sums over the head: of the squared difference of two images and of their squared mean.
struct Difference {
  double squares = 0, all = 0, count = 0;

  void add(double a, double b, double weight) {
    const double mean = 0.5 * (a + b);
    squares += weight * squareOf(a - b);
    all += weight * mean * mean;
    count += weight;
  }
  double beyondNoise(double variance) const {
    return rootOfRatio(std::max(squares - variance * count, 0.0), all);
  }
};

// Where the mean is head, and where either image is, with both totals: the mean with an image that
// lost its signal may be none.
struct SliceSums {
  Difference inMean, inEither;
  double ofFirst = 0, ofSecond = 0;

  double greater() const { return std::max(ofFirst, ofSecond); }
  bool isLost() const { return std::min(ofFirst, ofSecond) < lostPart * greater(); }
};

std::vector<SliceSums> sumSlices(const PairToMeasure& pair, double ratio) {
  const glm::ivec3 size = pair.shift.dimensions();
  std::vector<SliceSums> slices(static_cast<std::size_t>(size[pair.sliceAxis]));
  glm::ivec3 at;
  int i = 0;
  for (at.z = 0; at.z < size.z; ++at.z)
    for (at.y = 0; at.y < size.y; ++at.y)
      for (at.x = 0; at.x < size.x; ++at.x, ++i) {
        const double a = static_cast<double>(pair.correctedFirst.data()[i]);
        const double b = ratio * static_cast<double>(pair.correctedSecond.data()[i]);
        const double counts = pair.weightOf(i);
        if (!(std::max(a, b) > pair.threshold) || counts <= 0) continue;
        SliceSums& slice = slices[static_cast<std::size_t>(at[pair.sliceAxis])];
        if (0.5 * (a + b) > pair.threshold) slice.inMean.add(a, b, counts);
        slice.inEither.add(a, b, counts);
        slice.ofFirst += counts * a;
        slice.ofSecond += counts * b;
      }
  return slices;
}

// The slices of which one image lost the signal; notes which.
std::vector<bool> findLost(const std::vector<SliceSums>& slices, PairFigures& figures) {
  double total = 0;
  for (const SliceSums& slice : slices) total += slice.greater();
  std::vector<bool> lost;
  for (const SliceSums& slice : slices) {
    const int number = static_cast<int>(lost.size());
    const double mean = total / static_cast<double>(slices.size());
    lost.push_back(slice.greater() > hardlyAnyTotal * mean && slice.isLost());
    if (!lost.back()) continue;
    (slice.ofFirst < slice.ofSecond ? figures.slicesLostByFirst : figures.slicesLostBySecond)
        .push_back(number);
  }
  return lost;
}

void compareSlices(const std::vector<SliceSums>& sums, double variance, PairFigures& figures) {
  const std::vector<bool> lost = findLost(sums, figures);
  std::vector<Difference> slices;
  double all = 0, squares = 0;
  for (std::size_t k = 0; k < sums.size(); ++k) {
    slices.push_back(lost[k] ? sums[k].inEither : sums[k].inMean);
    all += slices[k].all;
    squares += slices[k].squares;
  }
  std::vector<float> misfits;
  for (std::size_t k = 0; k < slices.size(); ++k) {
    const Difference& slice = slices[k];
    const bool counts =
        lost[k] || slice.all * static_cast<double>(slices.size()) > hardlyAnything * all;
    figures.sliceMisfits.push_back(counts ? rootOfRatio(slice.squares, slice.count) : 0);
    if (counts) misfits.push_back(static_cast<float>(figures.sliceMisfits.back()));
    figures.sliceResiduals.push_back(counts ? slice.beyondNoise(variance) : 0);
    figures.sliceShares.push_back(counts && squares > 0 ? slice.squares / squares : 0);
  }
  const double middle = misfits.empty() ? 0 : static_cast<double>(quantile(misfits, 0.5));
  for (double& misfit : figures.sliceMisfits) misfit = middle > 0 ? misfit / middle : 0;
}

void measureHead(const PairToMeasure& pair, double ratio, double noiseVariance,
                 PairFigures& figures) {
  Volume<float> slopes[3];
  for (int axis = 0; axis < 3; ++axis) slopes[axis] = slopeAlong(pair.shift, axis);
  double difference = 0, all = 0, voxels = 0, shift = 0, stretch = 0, shear = 0;
  std::vector<float> inHead;
  for (int i = 0; i < pair.shift.size(); ++i) {
    const double a = static_cast<double>(pair.correctedFirst.data()[i]);
    const double b = ratio * static_cast<double>(pair.correctedSecond.data()[i]);
    const double mean = 0.5 * (a + b);
    const double counts = pair.weightOf(i);
    if (mean <= pair.threshold || counts <= 0) continue;
    inHead.push_back(pair.shift.data()[i]);
    const double weight = counts * mean * mean;
    difference += counts * squareOf(a - b);
    all += weight;
    voxels += counts;
    shift += weight * squareOf(static_cast<double>(pair.shift.data()[i]));
    for (int axis = 0; axis < 3; ++axis) {
      const double slope = static_cast<double>(slopes[axis].data()[i]);
      const double mm = slope * pair.voxelMm[pair.axis] / pair.voxelMm[axis];
      (axis == pair.axis ? stretch : shear) += weight * squareOf(mm);
    }
  }
  figures.residual = rootOfRatio(difference, all);
  figures.residualOfNoise = rootOfRatio(noiseVariance * voxels, all);
  figures.sliceAxis = pair.sliceAxis;
  compareSlices(sumSlices(pair, ratio), noiseVariance, figures);
  figures.shiftVoxels = rootOfRatio(shift, all);
  figures.stretch = rootOfRatio(stretch, all);
  figures.shear = rootOfRatio(shear, all);
  if (!inHead.empty()) {
    figures.shiftLow = static_cast<double>(quantile(inHead, 0.01));
    figures.shiftHigh = static_cast<double>(quantile(inHead, 0.99));
  }
  if (!pair.readoutSeconds) return;
  figures.hzPerVoxel = 1 / *pair.readoutSeconds;
  figures.fieldHz = figures.shiftVoxels / *pair.readoutSeconds;
  figures.fieldHzPerMm = figures.shear / pair.voxelMm[pair.axis] / *pair.readoutSeconds;
}

// The weights where the second image's slices as they came go so far, 0 elsewhere.
Volume<float> reachedWeights(const PairToMeasure& pair) {
  const glm::ivec3 size = pair.shift.dimensions();
  Volume<float> weights(size, 0.0F);
  glm::ivec3 at;
  int i = 0;
  for (at.z = 0; at.z < size.z; ++at.z)
    for (at.y = 0; at.y < size.y; ++at.y)
      for (at.x = 0; at.x < size.x; ++at.x, ++i) {
        const double slice = (*pair.toSecond * glm::dvec4(at, 1.0))[pair.sliceAxis];
        if (slice >= 0 && slice <= size[pair.sliceAxis] - 1)
          weights.data()[i] = static_cast<float>(pair.weightOf(i));
      }
  return weights;
}

// The part of the head's weighted signal that other weights take.
double partTaken(const PairToMeasure& pair, const Volume<float>& weights) {
  double all = 0, taken = 0;
  for (int i = 0; i < weights.size(); ++i) {
    const double signal = static_cast<double>(pair.correctedFirst.data()[i]);
    if (!(signal > pair.threshold)) continue;
    all += pair.weightOf(i) * signal;
    taken += static_cast<double>(weights.data()[i]) * signal;
  }
  return all > 0 ? taken / all : 0;
}

}  // namespace

double PairFigures::unexplainedTotals() const { return beyond(columnTotals, columnTotalsOfNoise); }

double PairFigures::unexplainedResidual() const { return beyond(residual, residualOfNoise); }

PairFigures measurePair(const PairToMeasure& given) {
  PairToMeasure pair = given;
  Volume<float> reached;
  if (given.toSecond) {
    reached = reachedWeights(given);
    if (partTaken(given, reached) > leastReached) pair.weights = &reached;
  }
  PairFigures figures;
  const double ratio = pair.intensityRatio;
  const double noiseVariance =
      squareOf(noiseSigma(pair.first)) + squareOf(ratio * noiseSigma(pair.second));
  measureTotals(pair, ratio, noiseVariance, figures);
  measureHead(pair, ratio, noiseVariance, figures);
  return figures;
}

}  // namespace mirel

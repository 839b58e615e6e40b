#include "masspreserving/masspreserving.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>
#include <vector>

#include "masspreserving/levelfit.h"
#include "masspreserving/massmodel.h"
#include "masspreserving/pyramid.h"
#include "masspreserving/transport.h"

namespace {

constexpr int fewestVoxels = 12;       // along an axis of the coarsest resolution
constexpr double smallestStep = 0.01;  // in voxels; steps below it end a resolution
constexpr double solverTolerance = 0.05;
constexpr int mostSolverIterations = 60;

double columnTotal(const Volume<float>& image, int x, int z) {
  double sum = 0.0;
  for (int y = 0; y < image.ny(); ++y)
    if (std::isfinite(image.at(x, y, z))) sum += static_cast<double>(image.at(x, y, z));
  return sum;
}

// Mean intensity weighted with the intensity.
double reference(const Volume<float>& image) {
  double sum = 0.0, squares = 0.0;
  for (int i = 0; i < image.size(); ++i) {
    const double v = image.data()[i];
    if (!std::isfinite(v)) continue;
    sum += std::abs(v);
    squares += v * v;
  }
  return sum > 0.0 ? squares / sum : 0.0;
}

double weightedMedian(std::vector<std::pair<double, double>>& values) {
  double total = 0.0;
  for (const auto& v : values) total += v.second;
  std::sort(values.begin(), values.end());
  double below = 0.0;
  for (const auto& v : values) {
    below += v.second;
    if (below >= 0.5 * total) return v.first;
  }
  return 0.0;
}

// Log of the ratio of the images' signal: distortion along y leaves a column's total as it is, so
// the median over the columns, weighted with their signal, needs no displacement.
double logRatio(const Volume<float>& first, const Volume<float>& second) {
  std::vector<std::pair<double, double>> ratios;
  for (int z = 0; z < first.nz(); ++z)
    for (int x = 0; x < first.nx(); ++x) {
      const double total1 = columnTotal(first, x, z), total2 = columnTotal(second, x, z);
      if (total1 > 0.0 && total2 > 0.0)
        ratios.emplace_back(std::log(total1 / total2), std::sqrt(total1) * std::sqrt(total2));
    }
  return weightedMedian(ratios);
}

// The prior precision of the roughness before anything is known: gradients of a tenth of a voxel
// per voxel are ordinary.
double firstRoughnessWeight(glm::dvec3 spacingMm) {
  const double y = spacingMm.y * spacingMm.y;
  return 30.0 * y / (1.0 + 100.0 / y);
}

// Values that are not finite become 0.
Volume<float> scaled(const Volume<float>& image, double factor) {
  Volume<float> result(image.dimensions());
  for (int i = 0; i < image.size(); ++i) {
    const double v = image.data()[i];
    result.data()[i] = static_cast<float>(std::isfinite(v) ? factor * v : 0.0);
  }
  return result;
}

using Images = std::pair<Volume<float>, Volume<float>>;

class Estimation {
 public:
  Estimation(const MassPreservingOptions& wanted,
             const std::function<bool(const MassPreservingProgress&)>& listener)
      : options(wanted), progress(listener) {}

  MassPreservingResult run(const Volume<float>& first, const Volume<float>& second,
                           const glm::dvec3& voxelMm);

 private:
  void fitLevel(int level, const Images& pair);
  void report(int level, int iteration, const LevelFit::Step& step, const FitStatistics& now);

  const MassPreservingOptions& options;
  const std::function<bool(const MassPreservingProgress&)>& progress;
  std::vector<PyramidLevel> levels;
  Volume<float> b;
  FitStatistics statistics;
  MassPreservingResult result;
};

void Estimation::report(int level, int iteration, const LevelFit::Step& step,
                        const FitStatistics& now) {
  ++result.iterations;
  result.solverIterations += step.solverIterations;
  if (progress && !progress({level, static_cast<int>(levels.size()), iteration, step.energy,
                             std::sqrt(0.5 * now.noise.variance), now.noise.nu, now.roughnessWeight,
                             now.degreesOfFreedom, step.largestStep, step.solverIterations}))
    throw MassPreservingCancelled();
}

void Estimation::fitLevel(int level, const Images& pair) {
  const bool coarsest = level + 1 == static_cast<int>(levels.size());
  const glm::dvec3 spacing = levels[static_cast<std::size_t>(level)].voxelMm;
  if (coarsest) {
    b = transportStart<float>(pair.first, pair.second, spacing / spacing.y);
    statistics.roughnessWeight = firstRoughnessWeight(spacing);
  } else {
    const glm::ivec3 halved = levels[static_cast<std::size_t>(level + 1)].halved;
    b = prolong(b, pair.first.dimensions(), halved);
    statistics.noise = {};
    // Twice the voxels per displacement, in the square.
    statistics.roughnessWeight /= halved.y * halved.y;
  }
  const MassModel<float> model(pair.first, pair.second);
  LevelFit fit(model, spacing, std::move(b), statistics);
  // Outliers are told apart at the finest resolution only: before, what is not yet explained is
  // not an outlier.
  const NoiseTails tails = level == 0 ? NoiseTails::student : NoiseTails::normal;
  const int iterations = level == 0 ? options.finestIterations : options.coarseIterations;
  for (int i = 0; i < iterations; ++i) {
    const LevelFit::Step step = fit.step(solverTolerance, mostSolverIterations);
    if (level > 0 || i + 1 < iterations) fit.updateStatistics(tails);
    report(level, i, step, fit.statistics());
    if (step.largestStep < smallestStep) break;
  }
  b = fit.displacement();
  statistics = fit.statistics();
}

MassPreservingResult Estimation::run(const Volume<float>& first, const Volume<float>& second,
                                     const glm::dvec3& voxelMm) {
  result.shiftVoxels = Volume<float>(first.dimensions(), 0.0F);
  const double signal1 = reference(first), signal2 = reference(second);
  if (!(signal1 > 0.0) || !(signal2 > 0.0)) return std::move(result);
  const double logScale = options.estimateScale ? logRatio(first, second) : 0.0;
  const double signal = std::sqrt(signal1) * std::sqrt(signal2);

  levels = makePyramid(first.dimensions(), voxelMm, fewestVoxels);
  // Half of the scale goes to each, so that exchanging the images changes nothing but signs.
  std::vector<Images> images;
  images.emplace_back(scaled(first, std::exp(-0.5 * logScale) / signal),
                      scaled(second, std::exp(0.5 * logScale) / signal));
  for (std::size_t l = 1; l < levels.size(); ++l)
    images.emplace_back(coarsen(images[l - 1].first, levels[l].halved),
                        coarsen(images[l - 1].second, levels[l].halved));
  for (int level = static_cast<int>(levels.size()) - 1; level >= 0; --level)
    fitLevel(level, images[static_cast<std::size_t>(level)]);

  result.shiftVoxels = edgesToVoxels(b, 0.98);
  result.scale = std::exp(logScale);
  result.noiseSigma = std::sqrt(0.5 * statistics.noise.variance) * signal;
  result.noiseTails = statistics.noise.nu;
  result.roughnessWeight = statistics.roughnessWeight;
  result.degreesOfFreedom = statistics.degreesOfFreedom;
  return std::move(result);
}

}  // namespace

MassPreservingResult estimateMassPreserving(
    const Volume<float>& first, const Volume<float>& second, const glm::dvec3& voxelMm,
    const MassPreservingOptions& options,
    const std::function<bool(const MassPreservingProgress&)>& progress) {
  if (first.dimensions() != second.dimensions())
    throw std::invalid_argument("the two images of a pair have different sizes");
  for (int axis = 0; axis < 3; ++axis)
    if (!(voxelMm[axis] > 0.0) || !std::isfinite(voxelMm[axis]))
      throw std::invalid_argument("a voxel edge is not a positive number");
  if (first.size() == 0) return {};
  return Estimation(options, progress).run(first, second, voxelMm);
}

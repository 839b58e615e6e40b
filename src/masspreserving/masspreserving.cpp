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

constexpr int fewestVoxels = 12;  // along an axis of the coarsest resolution
constexpr double smallestStep = 0.01;  // in voxels; steps below it end a resolution
constexpr double solverTolerance = 0.05;
constexpr int mostSolverIterations = 60;

// Of the positive values.
double sumOf(const Volume<float>& image) {
  double sum = 0.0;
  for (int i = 0; i < image.size(); ++i)
    if (std::isfinite(image.data()[i])) sum += std::max(0.0F, image.data()[i]);
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

// Log of the ratio of the corrected images: median over the voxels, weighted with the signal.
double logRatio(const MassModel<float>& model, const Volume<float>& b) {
  Volume<float> t1(model.voxels(), 0.0F), t2(model.voxels(), 0.0F);
  model.correct(b, t1, t2);
  std::vector<std::pair<double, double>> ratios;
  for (int i = 0; i < t1.size(); ++i) {
    const double a = t1.data()[i], c = t2.data()[i];
    if (a > 0.0 && c > 0.0) ratios.emplace_back(std::log(a / c), a * c);
  }
  return weightedMedian(ratios);
}

// The prior precision of the roughness before anything is known: gradients of a tenth of a voxel
// per voxel are ordinary.
double firstRoughnessWeight(glm::dvec3 spacingMm) {
  const double y = spacingMm.y * spacingMm.y;
  return 30.0 * y / (1.0 + 100.0 / y);
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
  MassModel<float> model(const Images& pair) const {
    return {pair.first, pair.second, std::exp(-0.5 * logScale) / signal,
            std::exp(0.5 * logScale) / signal};
  }
  void fitLevel(int level, const Images& pair);
  void report(int level, int iteration, const LevelFit::Step& step, const FitStatistics& now);

  const MassPreservingOptions& options;
  const std::function<bool(const MassPreservingProgress&)>& progress;
  std::vector<PyramidLevel> levels;
  double logScale = 0.0, signal = 1.0;
  Volume<float> b;
  FitStatistics statistics;
  MassPreservingResult result;
};

void Estimation::report(int level, int iteration, const LevelFit::Step& step,
                        const FitStatistics& now) {
  ++result.iterations;
  result.solverIterations += step.solverIterations;
  if (progress &&
      !progress({level, static_cast<int>(levels.size()), iteration, step.energy,
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
  if (options.estimateScale) logScale += logRatio(model(pair), b);
  const MassModel<float> scaled = model(pair);
  LevelFit fit(scaled, spacing, std::move(b), statistics);
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
  const double sum1 = sumOf(first), sum2 = sumOf(second);
  if (!(sum1 > 0.0) || !(sum2 > 0.0)) return std::move(result);
  if (options.estimateScale) logScale = std::log(sum1 / sum2);
  signal = std::sqrt(reference(first)) * std::sqrt(reference(second));

  levels = makePyramid(first.dimensions(), voxelMm, fewestVoxels);
  std::vector<Images> images{{first, second}};
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

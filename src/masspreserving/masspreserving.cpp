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

// Weighted root mean square of both images: a reference for their intensities.
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
  MassPreservingResult result;
  result.shiftVoxels = Volume<float>(first.dimensions(), 0.0F);
  const double sum1 = sumOf(first), sum2 = sumOf(second);
  if (!(sum1 > 0.0) || !(sum2 > 0.0)) return result;
  double logScale = options.estimateScale ? std::log(sum1 / sum2) : 0.0;
  const double size = std::sqrt(reference(first)) * std::sqrt(reference(second));

  const std::vector<PyramidLevel> levels = makePyramid(first.dimensions(), voxelMm, 12);
  std::vector<std::pair<Volume<float>, Volume<float>>> images{{first, second}};
  for (std::size_t l = 1; l < levels.size(); ++l)
    images.emplace_back(coarsen(images[l - 1].first, levels[l].halved),
                        coarsen(images[l - 1].second, levels[l].halved));

  Volume<float> b;
  FitStatistics statistics;
  const int top = static_cast<int>(levels.size()) - 1;
  for (int l = top; l >= 0; --l) {
    const PyramidLevel& level = levels[static_cast<std::size_t>(l)];
    const auto& pair = images[static_cast<std::size_t>(l)];
    const glm::dvec3 spacing = level.voxelMm / level.voxelMm.y;
    const auto model = [&] {
      return MassModel<float>(pair.first, pair.second, std::exp(-0.5 * logScale) / size,
                              std::exp(0.5 * logScale) / size);
    };
    if (l == top) {
      b = transportStart<float>(pair.first, pair.second, spacing);
      statistics.roughnessWeight = 30.0;
    } else {
      b = prolong(b, level.voxels, levels[static_cast<std::size_t>(l + 1)].halved);
      statistics.residualVariance = 0.0;
      statistics.roughnessWeight /= levels[static_cast<std::size_t>(l + 1)].halved.y;
    }
    if (options.estimateScale) logScale += logRatio(model(), b);
    const MassModel<float> scaled = model();
    LevelFit fit(scaled, spacing, b, statistics);
    const int iterations = l == 0 ? options.finestIterations : options.coarseIterations;
    for (int i = 0; i < iterations; ++i) {
      const LevelFit::Step step = fit.step(0.05, 60);
      if (i + 1 < iterations || l > 0) fit.updateStatistics();
      ++result.iterations;
      result.solverIterations += step.solverIterations;
      const FitStatistics& now = fit.statistics();
      if (progress &&
          !progress({l, top + 1, i, step.energy, std::sqrt(0.5 * now.residualVariance),
                     now.roughnessWeight, now.degreesOfFreedom, step.largestStep,
                     step.solverIterations}))
        throw MassPreservingCancelled();
      if (step.largestStep < 0.01) break;
    }
    b = fit.displacement();
    statistics = fit.statistics();
  }
  result.shiftVoxels = edgesToVoxels(b, 0.98);
  result.scale = std::exp(logScale);
  result.noiseSigma = std::sqrt(0.5 * statistics.residualVariance) * size;
  result.roughnessWeight = statistics.roughnessWeight;
  result.degreesOfFreedom = statistics.degreesOfFreedom;
  return result;
}

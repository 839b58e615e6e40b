#include "masspreserving/placetrust.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace mirel {

namespace {

// Nodes with less of the signal than this part of the mean tell nothing.
constexpr double leastSignal = 0.05;
constexpr double fence = 3.0;
constexpr double leastShareOfMisfit = 0.25;

// Of values with weights, the one below which a part of the weight lies.
double weightedQuantile(std::vector<std::pair<double, double>> values, double part) {
  std::sort(values.begin(), values.end());
  double total = 0.0, below = 0.0;
  for (const auto& [value, weight] : values) total += weight;
  for (const auto& [value, weight] : values) {
    below += weight;
    if (below >= part * total) return value;
  }
  return 0.0;
}

}  // namespace

PlaceTrust::PlaceTrust(const Volume<float>& residuals, const Volume<float>& low,
                       const Volume<float>& high, const CoarseGrid& nodes) {
  Volume<float> signal(residuals.dimensions()), misfit(residuals.dimensions());
  for (int i = 0; i < signal.size(); ++i) {
    signal.data()[i] = std::max(low.data()[i] * high.data()[i], 0.0F);
    misfit.data()[i] = signal.data()[i] * residuals.data()[i] * residuals.data()[i];
  }
  const std::vector<double> sums = nodes.project(signal), squares = nodes.project(misfit);
  double total = 0.0;
  for (const double sum : sums) total += sum;
  const double least = leastSignal * total / static_cast<double>(sums.size());
  std::vector<std::pair<double, double>> logs;
  for (std::size_t k = 0; k < sums.size(); ++k)
    if (sums[k] > least && squares[k] > 0.0)
      logs.emplace_back(std::log(squares[k] / sums[k]), sums[k]);
  if (logs.empty()) return;
  const double low1 = weightedQuantile(logs, 0.25), high3 = weightedQuantile(logs, 0.75);
  const double limit = std::exp(high3 + fence * (high3 - low1));
  std::vector<double> found(sums.size(), 1.0);
  double signalOut = 0.0, misfitOut = 0.0, misfitAll = 0.0;
  for (std::size_t k = 0; k < sums.size(); ++k) {
    misfitAll += squares[k];
    if (!(sums[k] > least) || !(squares[k] > limit * sums[k])) continue;
    const double ratio = limit * sums[k] / squares[k];
    found[k] = ratio * ratio * ratio * ratio;
    signalOut += sums[k];
    misfitOut += squares[k];
  }
  if (!(misfitOut > leastShareOfMisfit * misfitAll)) return;
  weights = std::move(found);
  out = signalOut / total;
}

Volume<float> PlaceTrust::at(const CoarseGrid& nodes, glm::ivec3 voxels) const {
  Volume<float> result(voxels, 1.0F);
  if (!isWhole()) nodes.expand(weights, result);
  return result;
}

}  // namespace mirel

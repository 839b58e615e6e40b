#include "masspreserving/localnoise.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace {

// Of an average node: what the whole volume adds to each, so that one with hardly any signal takes
// the volume's variance.
constexpr double shareOfTheWhole = 0.1;

}  // namespace

LocalNoise::LocalNoise(glm::ivec3 voxels, CoarseGrid nodes)
    : grid(std::move(nodes)), relative(voxels, 1.0F) {}

Volume<float> LocalNoise::evened(const Volume<float>& residual) const {
  Volume<float> result(residual.dimensions());
  for (int i = 0; i < result.size(); ++i)
    result.data()[i] = residual.data()[i] / std::sqrt(relative.data()[i]);
  return result;
}

void LocalNoise::update(const Volume<float>& residual, const Volume<float>& low,
                        const Volume<float>& high, const ResidualNoise& noise) {
  if (!(noise.variance > 0.0)) return;
  Volume<float> weight(residual.dimensions()), squares(residual.dimensions());
  for (int i = 0; i < weight.size(); ++i) {
    const double r = residual.data()[i];
    const double w = std::max(0.0, static_cast<double>(low.data()[i]) * high.data()[i]);
    const double even = r / std::sqrt(static_cast<double>(relative.data()[i]));
    weight.data()[i] = static_cast<float>(w);
    squares.data()[i] = static_cast<float>(w * noise.relativeWeight(even) * r * r / noise.variance);
  }
  const std::vector<double> shares = grid.project(weight);
  std::vector<double> variance = grid.project(squares);
  double all = 0.0, allSquares = 0.0;
  for (std::size_t k = 0; k < shares.size(); ++k) {
    all += shares[k];
    allSquares += variance[k];
  }
  if (!(all > 0.0) || !(allSquares > 0.0)) return;
  const double mean = allSquares / all;
  const double little = shareOfTheWhole * all / static_cast<double>(shares.size());
  double meanLog = 0.0;
  for (std::size_t k = 0; k < shares.size(); ++k) {
    variance[k] = (variance[k] + little * mean) / (shares[k] + little);
    meanLog += shares[k] / all * std::log(variance[k]);
  }
  for (double& v : variance) v /= std::exp(meanLog);
  grid.expand(variance, relative);
}

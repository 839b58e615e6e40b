#include "masspreserving/noise.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace mirel {

namespace {

// A weighted histogram of squared residuals.
struct Bins {
  std::vector<double> weight, sum;  // of the weights, of weight * r^2
  double total = 0.0;
};

// Sums over all residuals.
struct Sums {
  double total = 0.0, squares = 0.0;  // of the weights and their squares
  double all = 0.0;                   // of weight * r^2
};

// The bin of a positive float: exponent and the four leading bits of the mantissa.
constexpr int binShift = 19;

double scaleFor(const Bins& bins, double nu, double start) {
  double v = start;
  for (int iteration = 0; iteration < 60; ++iteration) {
    double sum = 0.0;
    for (std::size_t k = 0; k < bins.weight.size(); ++k) {
      if (bins.weight[k] <= 0.0) continue;
      const double square = bins.sum[k] / bins.weight[k];
      sum += bins.sum[k] * (nu + 1.0) / (nu + square / v);
    }
    const double next = sum / bins.total;
    const bool settled = std::abs(next - v) <= 1e-4 * v;
    v = next;
    if (settled || !(v > 0.0)) break;
  }
  return v;
}

double logLikelihood(const Bins& bins, double nu, double v) {
  const double constant = std::lgamma(0.5 * (nu + 1.0)) - std::lgamma(0.5 * nu) -
                          0.5 * std::log(nu * std::numbers::pi * v);
  double sum = bins.total * constant;
  for (std::size_t k = 0; k < bins.weight.size(); ++k)
    if (bins.weight[k] > 0.0)
      sum -=
          0.5 * (nu + 1.0) * bins.weight[k] * std::log1p(bins.sum[k] / bins.weight[k] / (nu * v));
  return sum;
}

template <typename ForVoxels>
void fill(Bins& bins, const ForVoxels& forVoxels) {
  bins.weight.assign(std::size_t{1} << (31 - binShift), 0.0);
  bins.sum = bins.weight;
  forVoxels([&](double w, double square) {
    const std::size_t bin = std::bit_cast<std::uint32_t>(static_cast<float>(square)) >> binShift;
    bins.weight[bin] += w;
    bins.sum[bin] += w * square;
  });
}

}  // namespace

template <typename Real>
NoiseFit fitNoise(const Volume<Real>& r, const Volume<Real>& low, const Volume<Real>& high,
                  NoiseTails tails, const Volume<Real>& trust, const Parallel& parallel) {
  // Of each voxel the weight and the squared residual, in their order.
  const auto forVoxels = [&](const auto& add) {
    for (int i = 0; i < r.size(); ++i) {
      double w = std::max(static_cast<double>(low.data()[i]) * high.data()[i], 0.0);
      if (trust.size() > 0) w *= static_cast<double>(trust.data()[i]);
      add(w, static_cast<double>(r.data()[i]) * r.data()[i]);
    }
  };
  Bins bins;
  Sums sums;
  // A normal distribution needs no bins.
  inRanges(parallel, tails == NoiseTails::normal ? 1 : 2, 1, [&](int part, int) {
    if (part == 1)
      fill(bins, forVoxels);
    else
      forVoxels([&](double w, double square) {
        sums.total += w;
        sums.squares += w * w;
        sums.all += w * square;
      });
  });
  bins.total = sums.total;
  NoiseFit fit;
  if (!(bins.total > 0.0)) return fit;
  fit.effectiveCount = bins.total * bins.total / sums.squares;
  fit.noise.variance = sums.all / bins.total;
  if (!(fit.noise.variance > 0.0)) return fit;
  double best = -0.5 * bins.total * (std::log(2.0 * std::numbers::pi * fit.noise.variance) + 1.0);
  fit.logLikelihood = best / bins.total;
  if (tails == NoiseTails::normal) return fit;
  const double start = fit.noise.variance;
  for (const double nu : std::array{3.0, 4.0, 6.0, 9.0, 15.0, 30.0}) {
    const double v = scaleFor(bins, nu, start);
    if (!(v > 0.0)) continue;
    const double likelihood = logLikelihood(bins, nu, v);
    if (likelihood <= best) continue;
    best = likelihood;
    fit.noise = {v, nu};
  }
  fit.logLikelihood = best / bins.total;
  return fit;
}

template NoiseFit fitNoise(const Volume<float>&, const Volume<float>&, const Volume<float>&,
                           NoiseTails, const Volume<float>&, const Parallel&);
template NoiseFit fitNoise(const Volume<double>&, const Volume<double>&, const Volume<double>&,
                           NoiseTails, const Volume<double>&, const Parallel&);

}  // namespace mirel

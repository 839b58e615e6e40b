#include "phase/fieldnoise.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "numerics/statistics.h"
#include "phase/neighbours.h"

namespace mirel {

namespace {

// A difference along a run, and the standard deviation that noise of 1 gives it.
struct Difference {
  double value = 0, noise = 0;
};

template <std::size_t Length>
std::vector<Difference> differencesOf(const Volume<float>& field, const Volume<float>& reliability,
                                      const std::array<double, Length>& factors) {
  std::vector<Difference> all;
  forEachRun(field.dimensions(), static_cast<int>(Length), [&](int first, int step, int) {
    Difference sum;
    for (std::size_t n = 0; n < Length; ++n) {
      const int at = first + static_cast<int>(n) * step;
      const double deviation = factors[n] / static_cast<double>(reliability.data()[at]);
      sum.value += factors[n] * static_cast<double>(field.data()[at]);
      sum.noise += deviation * deviation;
    }
    if (!std::isnan(sum.value) && std::isfinite(sum.noise)) all.push_back(sum);
  });
  for (Difference& one : all) one.noise = std::sqrt(one.noise);
  return all;
}

double spreadOf(const Volume<float>& field) {
  float least = INFINITY, greatest = -INFINITY;
  for (int n = 0; n < field.size(); ++n) {
    least = std::fmin(least, field.data()[n]);
    greatest = std::fmax(greatest, field.data()[n]);
  }
  return least < greatest ? static_cast<double>(greatest) - static_cast<double>(least) : 1.0;
}

double noiseOf(const Volume<float>& field, const Volume<float>& reliability) {
  std::vector<float> sizes;
  for (const Difference& one : differencesOf<4>(field, reliability, {-1, 3, -3, 1}))
    sizes.push_back(static_cast<float>(std::abs(one.value) / one.noise));
  return sizes.empty() ? 0 : 1.4826 * static_cast<double>(quantile(sizes, 0.5));
}

}  // namespace

FieldVariation variationOf(const Volume<float>& field, const Volume<float>& reliability) {
  FieldVariation found;
  found.noise = std::max(noiseOf(field, reliability), 1e-6 * spreadOf(field));
  std::vector<float> squares;
  std::vector<float> noises;
  for (const Difference& one : differencesOf<3>(field, reliability, {1, -2, 1})) {
    squares.push_back(static_cast<float>(one.value * one.value));
    noises.push_back(static_cast<float>(one.noise * one.noise));
  }
  const double noise = found.noise * found.noise;
  double bend = 0, ofNoise = 6 * noise;
  if (!squares.empty()) {
    const float largest = quantile(squares, 0.99);
    for (const float square : squares) bend += static_cast<double>(std::min(square, largest));
    bend /= static_cast<double>(squares.size());
    ofNoise = noise * static_cast<double>(quantile(noises, 0.5));
  }
  found.curvature = std::sqrt(std::max(bend - ofNoise, leastCurvature * ofNoise));
  return found;
}

}  // namespace mirel

#include "pair/foreground.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace mirel {

namespace {

constexpr int binCount = 2048;
using Histogram = std::array<double, binCount>;

std::vector<float> squareRoots(const Volume<float>& image) {
  std::vector<float> roots;
  roots.reserve(static_cast<std::size_t>(image.size()));
  for (int i = 0; i < image.size(); ++i)
    if (std::isfinite(image.data()[i])) roots.push_back(std::sqrt(std::max(image.data()[i], 0.0f)));
  return roots;
}

float percentile(std::vector<float> values, double fraction) {
  const auto rank =
      static_cast<std::ptrdiff_t>(fraction * static_cast<double>(values.size() - 1) + 0.5);
  std::nth_element(values.begin(), values.begin() + rank, values.end());
  return values[static_cast<std::size_t>(rank)];
}

// The bin border of the best separation; borders of equal merit are averaged.
double bestBorder(const Histogram& histogram) {
  double total = 0, moment = 0;
  for (int b = 0; b < binCount; ++b) {
    total += histogram[static_cast<std::size_t>(b)];
    moment += histogram[static_cast<std::size_t>(b)] * b;
  }
  double best = 0, count = 0, sum = 0;
  int first = 0, last = 0;
  for (int b = 0; b + 1 < binCount; ++b) {
    count += histogram[static_cast<std::size_t>(b)];
    sum += histogram[static_cast<std::size_t>(b)] * b;
    if (count == 0 || count == total) continue;
    const double distance = (moment - sum) / (total - count) - sum / count;
    const double merit = count * (total - count) * distance * distance;
    if (merit > best) {
      best = merit;
      first = b;
    }
    if (merit == best) last = b;
  }
  return 0.5 * (first + last) + 1.0;
}

}  // namespace

double headThreshold(const Volume<float>& image) {
  const std::vector<float> roots = squareRoots(image);
  if (roots.empty()) return 0;
  float top = percentile(roots, 0.98);
  // Where less than 2 % of the image is not air.
  if (top <= *std::min_element(roots.begin(), roots.end()))
    top = *std::max_element(roots.begin(), roots.end());
  if (top <= *std::min_element(roots.begin(), roots.end())) return 0;
  Histogram histogram{};
  const double binsPerUnit = binCount / static_cast<double>(top);
  for (const float root : roots) {
    const int bin = std::min(static_cast<int>(root * binsPerUnit), binCount - 1);
    histogram[static_cast<std::size_t>(bin)] += 1;
  }
  const double border = bestBorder(histogram) / binsPerUnit;
  return border * border;
}

double fractionAbove(const Volume<float>& image, double threshold) {
  if (image.size() == 0) return 0;
  const auto above = std::count_if(image.data(), image.data() + image.size(),
                                   [threshold](float v) { return v > threshold; });
  return static_cast<double>(above) / image.size();
}

Volume<float> meanOf(const Volume<float>& a, const Volume<float>& b) { return (a + b) * 0.5f; }

}  // namespace mirel

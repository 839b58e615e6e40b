#include "masspreserving/intensityscale.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace mirel {

namespace {

double columnTotal(const Volume<float>& image, int x, int z) {
  double sum = 0.0;
  for (int y = 0; y < image.ny(); ++y)
    if (std::isfinite(image.at(x, y, z))) sum += static_cast<double>(image.at(x, y, z));
  return sum;
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

}  // namespace

double signalLevel(const Volume<float>& image) {
  double sum = 0.0, squares = 0.0;
  for (int i = 0; i < image.size(); ++i) {
    const double v = image.data()[i];
    if (!std::isfinite(v)) continue;
    sum += std::abs(v);
    squares += v * v;
  }
  return sum > 0.0 ? squares / sum : 0.0;
}

double logSignalRatio(const Volume<float>& first, const Volume<float>& second,
                      const Volume<float>& weights) {
  std::vector<std::pair<double, double>> ratios;
  for (int z = 0; z < first.nz(); ++z)
    for (int x = 0; x < first.nx(); ++x) {
      const double total1 = columnTotal(first, x, z), total2 = columnTotal(second, x, z);
      if (!(total1 > 0.0) || !(total2 > 0.0)) continue;
      const double counts = weights.size() > 0 ? columnTotal(weights, x, z) / weights.ny() : 1.0;
      if (counts > 0.0)
        ratios.emplace_back(std::log(total1 / total2),
                            counts * std::sqrt(total1) * std::sqrt(total2));
    }
  return weightedMedian(ratios);
}

Volume<float> scaledImage(const Volume<float>& image, double factor) {
  Volume<float> result(image.dimensions());
  for (int i = 0; i < image.size(); ++i) {
    const double v = image.data()[i];
    result.data()[i] = static_cast<float>(std::isfinite(v) ? factor * v : 0.0);
  }
  return result;
}

}  // namespace mirel

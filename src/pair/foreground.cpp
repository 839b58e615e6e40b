#include "pair/foreground.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "numerics/statistics.h"

namespace mirel {

namespace {

constexpr int binCount = 2048;

std::vector<float> squareRoots(const Volume<float>& image) {
  std::vector<float> roots;
  roots.reserve(static_cast<std::size_t>(image.size()));
  for (int i = 0; i < image.size(); ++i)
    if (std::isfinite(image.data()[i])) roots.push_back(std::sqrt(std::max(image.data()[i], 0.0f)));
  return roots;
}

}  // namespace

double headThreshold(const Volume<float>& image) {
  std::vector<float> roots = squareRoots(image);
  if (roots.empty()) return 0;
  float top = quantile(roots, 0.98);
  // Where less than 2 % of the image is not air.
  if (top <= *std::min_element(roots.begin(), roots.end()))
    top = *std::max_element(roots.begin(), roots.end());
  if (top <= *std::min_element(roots.begin(), roots.end())) return 0;
  std::array<double, binCount> histogram{};
  const double binsPerUnit = binCount / static_cast<double>(top);
  for (const float root : roots) {
    // Bounded before it is cast: one voxel may lie any number of times beyond the rest.
    const double bin = std::min(root * binsPerUnit, binCount - 1.0);
    histogram[static_cast<std::size_t>(bin)] += 1;
  }
  const ClassBorder border = otsuBorder(histogram);
  const double root = (0.5 * (border.first + border.last) + 1.0) / binsPerUnit;
  return root * root;
}

double fractionAbove(const Volume<float>& image, double threshold) {
  if (image.size() == 0) return 0;
  const auto above = std::count_if(image.data(), image.data() + image.size(),
                                   [threshold](float v) { return v > threshold; });
  return static_cast<double>(above) / image.size();
}

Volume<float> meanOf(const Volume<float>& a, const Volume<float>& b) { return (a + b) * 0.5f; }

}  // namespace mirel

#include "report/displacement.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "numerics/difference.h"
#include "numerics/statistics.h"

namespace mirel::report {

namespace {

constexpr std::size_t fewest = 20;
constexpr float strong = 0.5F, foldingStretch = 1.0F;

double shareAbove(const std::vector<float>& values, float limit) {
  if (values.empty()) return 0;
  const auto count =
      std::count_if(values.begin(), values.end(), [limit](float v) { return v >= limit; });
  return static_cast<double>(count) / static_cast<double>(values.size());
}

std::vector<float> absoluteIn(const Volume<float>& head, const Volume<float>& values) {
  std::vector<float> inside = valuesIn(head, values, 1);
  for (float& value : inside) value = std::abs(value);
  return inside;
}

}  // namespace

Volume<float> stretchAlong(const Volume<float>& shift, int axis) {
  Volume<float> stretch = slopeAlong(shift, axis);
  std::transform(stretch.data(), stretch.data() + stretch.size(), stretch.data(),
                 [](float slope) { return std::abs(slope); });
  return stretch;
}

std::vector<float> valuesIn(const Volume<float>& head, const Volume<float>& values, float factor) {
  std::vector<float> inside;
  for (int i = 0; i < head.size(); ++i)
    if (head.data()[i] != 0.0F && std::isfinite(values.data()[i]))
      inside.push_back(factor * values.data()[i]);
  return inside;
}

Displacement displacementIn(const Volume<float>& head, const Volume<float>& shift,
                            const Volume<float>& stretch) {
  Displacement found;
  std::vector<float> values = absoluteIn(head, shift);
  if (values.empty()) return found;
  found.median = quantile(values, 0.5);
  found.high = quantile(values, 0.99);
  found.largest = *std::max_element(values.begin(), values.end());
  const std::vector<float> changes = valuesIn(head, stretch, 1);
  found.stretched = shareAbove(changes, strong);
  found.folded = shareAbove(changes, foldingStretch);
  return found;
}

std::vector<double> quantileOfSlices(const Volume<float>& head, const Volume<float>& shift,
                                     int axis, double fraction) {
  const glm::ivec3 dims = head.dimensions();
  std::vector<std::vector<float>> slices(static_cast<std::size_t>(dims[axis]));
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x)
        if (head.at(x, y, z) != 0.0F && std::isfinite(shift.at(x, y, z)))
          slices[static_cast<std::size_t>(glm::ivec3(x, y, z)[axis])].push_back(
              std::abs(shift.at(x, y, z)));
  std::vector<double> quantiles;
  for (std::vector<float>& slice : slices)
    quantiles.push_back(slice.size() < fewest ? std::numeric_limits<double>::quiet_NaN()
                                              : quantile(slice, fraction));
  return quantiles;
}

}  // namespace mirel::report

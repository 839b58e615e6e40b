#include "phase/outliers.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "numerics/statistics.h"

namespace mirel {

namespace {

double medianAround(const Volume<float>& field, glm::ivec3 p, std::vector<float>& around) {
  around.clear();
  const glm::ivec3 dims = field.dimensions();
  for (int z = std::max(p.z - 1, 0); z < std::min(p.z + 2, dims.z); ++z)
    for (int y = std::max(p.y - 1, 0); y < std::min(p.y + 2, dims.y); ++y)
      for (int x = std::max(p.x - 1, 0); x < std::min(p.x + 2, dims.x); ++x)
        if (const float value = field.at(x, y, z); !std::isnan(value)) around.push_back(value);
  return static_cast<double>(quantile(around, 0.5));
}

}  // namespace

int removeOutliers(Volume<float>& field, const Volume<float>& reliability, double noise,
                   double sigmas, double least) {
  const glm::ivec3 dims = field.dimensions();
  std::vector<int> outliers;
  std::vector<float> around;
  for (int z = 0, n = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x, ++n) {
        const auto value = static_cast<double>(field.data()[n]);
        if (std::isnan(value)) continue;
        const double limit =
            std::max(least, sigmas * noise / static_cast<double>(reliability.data()[n]));
        if (std::abs(value - medianAround(field, {x, y, z}, around)) > limit) outliers.push_back(n);
      }
  for (const int n : outliers) field.data()[n] = std::numeric_limits<float>::quiet_NaN();
  return static_cast<int>(outliers.size());
}

}  // namespace mirel

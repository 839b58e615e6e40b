#include "field/comparedvoxels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

#include "numerics/statistics.h"

namespace mirel {

namespace {

constexpr int marginVoxels = 3;

using Mask = std::vector<unsigned char>;

/// Otsu's threshold over 256 bins of the whole range of the finite voxels. In double: a range
/// near the ends of float is still one.
double otsuThreshold(const Volume<float>& image) {
  constexpr int bins = 256;
  double low = std::numeric_limits<double>::infinity(), high = -low;
  for (int n = 0; n < image.size(); ++n) {
    const double v = image.data()[n];
    if (!std::isfinite(v)) continue;
    low = std::min(low, v);
    high = std::max(high, v);
  }
  if (!(high > low)) return high;
  std::array<double, bins> counts{};
  const double scale = (bins - 1) / (high - low);
  for (int n = 0; n < image.size(); ++n)
    if (std::isfinite(image.data()[n]))
      ++counts[static_cast<std::size_t>((image.data()[n] - low) * scale)];
  return low + (otsuBorder(counts).first + 1) / scale;
}

/// Spreads the set voxels by `marginVoxels` along one axis.
Mask spread(const Mask& mask, glm::ivec3 dims, int axis) {
  Mask result(mask.size(), 0);
  const std::array<std::ptrdiff_t, 3> strides = {1, dims.x,
                                                 static_cast<std::ptrdiff_t>(dims.x) * dims.y};
  const std::ptrdiff_t stride = strides[static_cast<std::size_t>(axis)];
  std::ptrdiff_t at = 0;
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x, ++at) {
        if (mask[static_cast<std::size_t>(at)] == 0) continue;
        const int here = std::array{x, y, z}[static_cast<std::size_t>(axis)];
        const int first = std::max(here - marginVoxels, 0);
        const int last = std::min(here + marginVoxels, dims[axis] - 1);
        for (int p = first; p <= last; ++p)
          result[static_cast<std::size_t>(at + (p - here) * stride)] = 1;
      }
  return result;
}

}  // namespace

std::vector<int> comparedVoxels(const Volume<float>& reference, const Volume<float>& covered) {
  const double threshold = otsuThreshold(reference);
  const glm::ivec3 dims = reference.dimensions();
  Mask mask(static_cast<std::size_t>(reference.size()));
  for (std::size_t n = 0; n < mask.size(); ++n) mask[n] = reference.data()[n] > threshold;
  for (int axis = 0; axis < 3; ++axis) mask = spread(mask, dims, axis);
  std::vector<int> voxels;
  for (int at = 0; at < reference.size(); ++at)
    if (mask[static_cast<std::size_t>(at)] != 0 && covered.data()[at] != 0.0f) voxels.push_back(at);
  return voxels;
}

}  // namespace mirel

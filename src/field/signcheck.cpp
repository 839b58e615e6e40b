#include "field/signcheck.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "numerics/jointhistogram.h"
#include "numerics/statistics.h"

namespace mirel {

namespace {

constexpr int binCount = 32;
constexpr int marginVoxels = 3;
constexpr std::int64_t fewestVoxels = 100;
constexpr double decisiveDifference = 0.002;

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

/// Of `reference`, which was resampled; `covered` tells where there was something to take.
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

/// Bin of every listed voxel, between the 1st and 99th percentile.
std::vector<int> binned(const Volume<float>& image, const std::vector<int>& voxels) {
  std::vector<float> values;
  values.reserve(voxels.size());
  for (const int n : voxels) values.push_back(image.data()[n]);
  std::vector<float> sorted = values;  // as far as asked for
  const auto percentile = [&](std::size_t percent) {
    return valueOfRank(sorted, (sorted.size() - 1) * percent / 100);
  };
  const double low = percentile(1), high = percentile(99);
  const double scale = high > low ? binCount / (high - low) : 0.0;
  std::vector<int> bins;
  bins.reserve(values.size());
  for (const float v : values)
    bins.push_back(static_cast<int>(std::clamp((v - low) * scale, 0.0, binCount - 1.0)));
  return bins;
}

double normalisedMutualInformation(const std::vector<int>& a, const std::vector<int>& b) {
  JointHistogram joint(binCount);
  for (std::size_t n = 0; n < a.size(); ++n) joint.add(a[n], b[n]);
  return joint.normalisedMutualInformation();
}

// 0 where it is not defined.
double agreement(const Volume<float>& a, const Volume<float>& b, const std::vector<int>& voxels) {
  const double r = correlation(a, b, voxels);
  return std::isnan(r) ? 0 : r;
}

}  // namespace

SignCheck compareSigns(const Volume<float>& asGiven, const Volume<float>& opposite,
                       const glm::dmat4& affine, const PlacedImage& reference) {
  if (asGiven.dimensions() != opposite.dimensions())
    throw std::logic_error("two images of one series have different dimensions");
  const Grid grid{asGiven.dimensions(), affine};
  const Volume<float> there =
      resampleTo(grid, reference.values, reference.affine, reference.name, Interpolation::linear);
  std::vector<int> voxels = comparedVoxels(
      there, coverage(grid, {reference.values.dimensions(), reference.affine}, reference.name));
  std::erase_if(voxels, [&](int n) {
    return !std::isfinite(there.data()[n]) || !std::isfinite(asGiven.data()[n]) ||
           !std::isfinite(opposite.data()[n]);
  });
  SignCheck check;
  check.voxels = static_cast<std::int64_t>(voxels.size());
  if (check.voxels < fewestVoxels) return check;
  const std::vector<int> referenceBins = binned(there, voxels);
  check.asGiven = normalisedMutualInformation(binned(asGiven, voxels), referenceBins);
  check.opposite = normalisedMutualInformation(binned(opposite, voxels), referenceBins);
  check.correlationAsGiven = agreement(asGiven, there, voxels);
  check.correlationOpposite = agreement(opposite, there, voxels);
  const double difference = check.asGiven - check.opposite;
  if (difference > decisiveDifference) check.verdict = SignCheck::Verdict::right;
  if (difference < -decisiveDifference) check.verdict = SignCheck::Verdict::opposite;
  return check;
}

}  // namespace mirel

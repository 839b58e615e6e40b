#include "field/signcheck.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

#include "field/comparedvoxels.h"
#include "numerics/jointhistogram.h"
#include "numerics/statistics.h"

namespace mirel {

namespace {

constexpr int binCount = 32;
constexpr std::int64_t fewestVoxels = 100;

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
  if (difference > decisiveNmiDifference) check.verdict = SignCheck::Verdict::right;
  if (difference < -decisiveNmiDifference) check.verdict = SignCheck::Verdict::opposite;
  return check;
}

}  // namespace mirel

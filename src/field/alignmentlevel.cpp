#include "field/alignmentlevel.h"

#include <algorithm>
#include <cmath>
#include <glm/common.hpp>

#include "nifti/orientation.h"
#include "numerics/interpolation.h"
#include "numerics/splitmix.h"
#include "numerics/statistics.h"
#include "numerics/volumegauss.h"

namespace mirel {

namespace {

constexpr double blockMm = 20;
constexpr double narrowestVoxels = 0.5;
constexpr float largestSummable = 1e20F;

// A number in -0.5 .. 0.5 that depends on nothing but `n`.
double jitter(std::uint64_t n) { return static_cast<double>(splitMix64(n) >> 11) * 0x1p-53 - 0.5; }

// Scaled down where sums over the image could leave the range of floats, with 0 for what is not
// finite.
Volume<float> summable(Volume<float> image) {
  float largest = 0;
  for (int n = 0; n < image.size(); ++n) {
    float& value = image.data()[n];
    if (!std::isfinite(value)) value = 0;
    largest = std::max(largest, std::fabs(value));
  }
  if (largest > largestSummable) image *= 1 / largestSummable;
  return image;
}

}  // namespace

int sampleGroupAt(const glm::dvec3& mm) {
  const glm::dvec3 block = glm::floor(mm / blockMm) + 1024.0;
  const auto part = [](double v) { return static_cast<std::uint64_t>(v) & 0x7ff; };
  return static_cast<int>(splitMix64(part(block.x) << 22 | part(block.y) << 11 | part(block.z)) %
                          AlignmentSample::groups);
}

glm::dvec3 placeInVoxel(std::size_t number) {
  return {jitter(3 * number), jitter(3 * number + 1), jitter(3 * number + 2)};
}

ValueBins::ValueBins(std::vector<float> values) {
  if (values.empty()) return;
  low = static_cast<double>(quantile(values, 0.01));
  const double high = static_cast<double>(quantile(values, 0.99));
  if (high > low) scale = (count - 1) / (high - low);
}

Volume<float> smoothedBy(double sigmaMm, const PlacedImage& image) {
  const glm::dvec3 sigma = sigmaMm / nifti::columnLengths(image.affine);
  return getAppliedGauss(summable(image.values), glm::max(sigma, glm::dvec3(narrowestVoxels)),
                         glm::ivec3(0));
}

void sampleReference(const PlacedImage& reference, const std::vector<int>& voxels,
                     AlignmentLevel& level) {
  const Volume<float> image = smoothedBy(level.sigmaMm, reference);
  const glm::dvec3 centre = middleMm(reference);
  const std::size_t count = std::min(level.wanted, voxels.size());
  std::vector<float> values;
  for (std::size_t n = 0; n < count; ++n) {
    const int at = voxels[n * voxels.size() / count];
    const glm::dvec3 voxel(at % image.nx(), at / image.nx() % image.ny(),
                           at / image.nx() / image.ny());
    const glm::dvec3 p = voxel + placeInVoxel(n);
    const glm::dvec3 mm = glm::dvec3(reference.affine * glm::dvec4(p, 1.0)) - centre;
    values.push_back(static_cast<float>(trilinear(image, p)));
    level.samples.push_back({mm, 0.0, sampleGroupAt(mm)});
  }
  const ValueBins bins(values);
  for (std::size_t n = 0; n < count; ++n)
    level.samples[n].bin = bins.of(static_cast<double>(values[n]));
}

glm::dvec3 middleMm(const PlacedImage& image) {
  const glm::dvec3 voxel = 0.5 * (glm::dvec3(image.values.dimensions()) - 1.0);
  return glm::dvec3(image.affine * glm::dvec4(voxel, 1.0));
}

}  // namespace mirel

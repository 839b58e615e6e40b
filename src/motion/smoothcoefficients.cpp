#include "motion/smoothcoefficients.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace mirel {

namespace {

// Those at 0, 1, 2, ... voxels; not scaled.
std::vector<double> halfOfTaps(double sigma) {
  std::vector<double> taps(static_cast<std::size_t>(std::ceil(3 * sigma)) + 1, 1.0);
  for (std::size_t k = 1; k < taps.size(); ++k) {
    const double distance = static_cast<double>(k) / sigma;
    taps[k] = std::exp(-0.5 * distance * distance);
  }
  return taps;
}

// Along an axis of n elements `stride` apart, for `width` rows side by side.
void smoothRows(const double* from, double* to, int n, std::ptrdiff_t stride, std::ptrdiff_t width,
                const std::vector<double>& taps) {
  const int reach = static_cast<int>(taps.size()) - 1;
  for (int at = 0; at < n; ++at) {
    double* target = to + at * stride;
    std::fill(target, target + width, 0.0);
    const int first = std::max(at - reach, 0), last = std::min(at + reach, n - 1);
    double sum = 0;
    for (int p = first; p <= last; ++p) sum += taps[static_cast<std::size_t>(std::abs(p - at))];
    for (int p = first; p <= last; ++p) {
      const double tap = taps[static_cast<std::size_t>(std::abs(p - at))] / sum;
      const double* source = from + p * stride;
      for (std::ptrdiff_t i = 0; i < width; ++i) target[i] += tap * source[i];
    }
  }
}

}  // namespace

void smoothCoefficients(const Volume<float>& image, const glm::dvec3& sigma,
                        SmoothScratch& scratch) {
  const glm::ivec3 n = image.dimensions();
  scratch.coefficients.assign(image.data(), image.data() + image.size());
  scratch.spare.resize(scratch.coefficients.size());
  std::ptrdiff_t stride = 1;
  for (int axis = 0; axis < 3; ++axis) {
    const std::ptrdiff_t block = stride * n[axis];
    if (sigma[axis] > 0) {
      const std::vector<double> taps = halfOfTaps(sigma[axis]);
      for (std::ptrdiff_t at = 0; at < image.size(); at += block)
        smoothRows(&scratch.coefficients[static_cast<std::size_t>(at)],
                   &scratch.spare[static_cast<std::size_t>(at)], n[axis], stride, stride, taps);
      scratch.coefficients.swap(scratch.spare);
    }
    stride = block;
  }
}

}  // namespace mirel

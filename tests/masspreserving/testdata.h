#pragma once

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>

#include "containers/volume.h"
#include "phantom/distort.h"
#include "phantom/random.h"

namespace mirel::testdata {

/// Independent normal deviates.
template <typename Real>
Volume<Real> noise(glm::ivec3 size, double sigma, std::uint64_t stream) {
  const RandomStream random(17, stream);
  Volume<Real> volume(size);
  for (int i = 0; i < volume.size(); ++i)
    volume.data()[i] =
        static_cast<Real>(sigma * random.normalPair(static_cast<std::uint64_t>(i)).first);
  return volume;
}

/// Noise about 1.5, positive nearly everywhere: an image for the parts of the model.
inline Volume<float> noisyImage(glm::ivec3 size, std::uint64_t stream) {
  Volume<float> image = noise<float>(size, 0.3, stream);
  return image += 1.5F;
}

/// A smooth, bright ellipsoid with structure inside, 0 well within the borders.
inline double ellipsoid(glm::dvec3 unit) {
  const double radius = std::sqrt(glm::dot(unit, unit)) / 0.7;
  const double inside = 1.0 / (1.0 + std::exp((radius - 1.0) * 12.0));
  return inside * (700.0 + 150.0 * std::sin(7.0 * unit.x + 5.0 * unit.y) * std::cos(6.0 * unit.z) +
                   120.0 * std::cos(11.0 * unit.y));
}

/// A smooth displacement in voxels of at most about `peak`.
inline double smoothShift(glm::dvec3 unit, double peak) {
  return peak * std::exp(-3.0 * glm::dot(unit - 0.2, unit - 0.2)) -
         0.6 * peak * std::exp(-4.0 * glm::dot(unit + 0.3, unit + 0.3));
}

struct Pair {
  Volume<float> first, second, shift;
};

/// The ellipsoid distorted along y by the smooth displacement, without noise. `offset` moves
/// object and displacement by whole voxels along y.
inline Pair makePair(glm::ivec3 size, double peak, int offset = 0) {
  constexpr int cells = 3;
  const auto unit = [&](double x, double y, double z) {
    return (glm::dvec3(x, y - offset, z) - 0.5 * (glm::dvec3(size) - 1.0)) /
           (0.5 * glm::dvec3(size));
  };
  Volume<float> density(size.x * cells, size.y * cells, size.z), shift(size);
  for (int z = 0; z < size.z; ++z) {
    for (int y = 0; y < density.ny(); ++y)
      for (int x = 0; x < density.nx(); ++x)
        density.at(x, y, z) = static_cast<float>(
            ellipsoid(unit((x + 0.5) / cells - 0.5, (y + 0.5) / cells - 0.5, z)));
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x)
        shift.at(x, y, z) = static_cast<float>(smoothShift(unit(x, y, z), peak));
  }
  return {distort(density, shift, PhaseEncodingAxis::y, cells),
          distort(density, -shift, PhaseEncodingAxis::y, cells), shift};
}

/// Root mean square of a - b where `mask` exceeds `threshold`.
inline double rmsWhere(const Volume<float>& a, const Volume<float>& b, const Volume<float>& mask,
                       float threshold) {
  double sum = 0.0, count = 0.0;
  for (int i = 0; i < a.size(); ++i) {
    if (!(mask.data()[i] > threshold)) continue;
    const double d = static_cast<double>(a.data()[i]) - static_cast<double>(b.data()[i]);
    sum += d * d;
    count += 1.0;
  }
  return count > 0.0 ? std::sqrt(sum / count) : 0.0;
}

/// The largest |b(y + 1) - b(y)|.
inline double largestStep(const Volume<float>& b) {
  double largest = 0.0;
  for (int z = 0; z < b.nz(); ++z)
    for (int y = 0; y + 1 < b.ny(); ++y)
      for (int x = 0; x < b.nx(); ++x)
        largest = std::max(largest, std::abs(static_cast<double>(b.at(x, y + 1, z)) -
                                             static_cast<double>(b.at(x, y, z))));
  return largest;
}

}  // namespace mirel::testdata

#include "accuracy/simulated.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "phantom/distort.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

constexpr int cells = 3;
constexpr double largestChange = 0.8;

Volume<float> smoothedAlong(int axis, const Volume<float>& image, double sigma) {
  const int radius = static_cast<int>(std::ceil(4.0 * sigma));
  Volume<float> result(image.dimensions());
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x) {
        double sum = 0.0;
        for (int k = -radius; k <= radius; ++k) {
          glm::ivec3 p(x, y, z);
          p[axis] += k;
          sum += std::exp(-0.5 * k * k / (sigma * sigma)) * static_cast<double>(image.get(p));
        }
        result.at(x, y, z) = static_cast<float>(sum);
      }
  return result;
}

Volume<float> smoothed(const Volume<float>& image, double sigma) {
  return smoothedAlong(2, smoothedAlong(1, smoothedAlong(0, image, sigma), sigma), sigma);
}

// Averages over the head, continued beyond it by wider ones where those do not reach.
Volume<float> smoothedWithin(const Volume<float>& head, const Volume<float>& field, double sigma) {
  Volume<float> result(field.dimensions(), 0.0F), done(field.dimensions(), 0.0F);
  for (double width = sigma; width < 100.0; width *= 2.0) {
    const Volume<float> sum = smoothed(field * head, width), weight = smoothed(head, width);
    for (int i = 0; i < result.size(); ++i) {
      const double share = std::min(1.0, 4.0 * static_cast<double>(weight.data()[i])) *
                           (1.0 - static_cast<double>(done.data()[i]));
      if (!(weight.data()[i] > 1e-6F)) continue;
      result.data()[i] += static_cast<float>(share) * sum.data()[i] / weight.data()[i];
      done.data()[i] += static_cast<float>(share);
    }
  }
  return result;
}

double largestWithin(const Mask& mask, const Volume<float>& field) {
  double largest = 0.0;
  for (int i = 0; i < field.size(); ++i)
    if (mask.data()[i] != 0)
      largest = std::max(largest, std::abs(static_cast<double>(field.data()[i])));
  return largest;
}

double steepestWithin(const Volume<float>& head, const Volume<float>& shift) {
  double largest = 0.0;
  for (int z = 0; z < shift.nz(); ++z)
    for (int y = 0; y + 1 < shift.ny(); ++y)
      for (int x = 0; x < shift.nx(); ++x)
        if (head.at(x, y, z) + head.at(x, y + 1, z) > 0.0F)
          largest = std::max(largest, std::abs(static_cast<double>(shift.at(x, y + 1, z)) -
                                               static_cast<double>(shift.at(x, y, z))));
  return largest;
}

}  // namespace

// In plane by linear interpolation, which a voxel's cells average to nearly the voxel again.
Volume<float> inCells(const Volume<float>& image) {
  Volume<float> density(image.nx() * cells, image.ny() * cells, image.nz());
  for (int z = 0; z < density.nz(); ++z)
    for (int y = 0; y < density.ny(); ++y)
      for (int x = 0; x < density.nx(); ++x)
        density.at(x, y, z) =
            image.linear(static_cast<float>((x + 0.5) / cells - 0.5),
                         static_cast<float>((y + 0.5) / cells - 0.5), static_cast<float>(z));
  return density;
}

FoldFreeShift foldFreeShift(const Volume<float>& magnitude, const Volume<float>& fieldHz,
                            double headAbove, double maxShiftVoxels, const Mask& brain) {
  Volume<float> head(magnitude.dimensions());
  std::transform(magnitude.data(), magnitude.data() + magnitude.size(), head.data(),
                 [&](float v) { return v > static_cast<float>(headAbove) ? 1.0F : 0.0F; });
  FoldFreeShift result{{}, 0.7};
  for (;; result.smoothingVoxels *= 1.2) {
    result.shiftVoxels = smoothedWithin(head, fieldHz, result.smoothingVoxels);
    result.shiftVoxels *=
        static_cast<float>(maxShiftVoxels / largestWithin(brain, result.shiftVoxels));
    if (steepestWithin(head, result.shiftVoxels) <= largestChange) return result;
  }
}

SimulatedPair simulatePair(const Volume<float>& magnitude, const Volume<float>& fieldHz,
                           double headAbove, double maxShiftVoxels, const Mask& brain,
                           std::uint64_t seed) {
  FoldFreeShift field = foldFreeShift(magnitude, fieldHz, headAbove, maxShiftVoxels, brain);
  SimulatedPair pair{{}, {}, std::move(field.shiftVoxels), field.smoothingVoxels};
  double signal = 0.0;
  for (int i = 0; i < brain.size(); ++i)
    if (brain.data()[i] != 0) signal += static_cast<double>(magnitude.data()[i]) / count(brain);
  const Volume<float> density = inCells(magnitude);
  const auto image = [&](const Volume<float>& shift, std::uint64_t stream) {
    return addRicianNoise(distort(density, shift, PhaseEncodingAxis::y, cells), 0.03 * signal, seed,
                          stream);
  };
  pair.first = image(pair.shiftVoxels, 1);
  pair.second = image(-pair.shiftVoxels, 2);
  return pair;
}

}  // namespace mirel

#pragma once

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "phantom/phantom.h"
#include "phantom/random.h"
#include "phase/angle.h"

namespace mirel {

/// What a scanner makes of a simulated head in its field: the phase difference of two echoes, and
/// the magnitude of the first.
struct SimulatedPhase {
  Volume<float> difference;  ///< in radians, wrapped
  Volume<float> magnitude;
  Volume<float> truthHz;
  Volume<float> brain;  ///< 1 in the brain
  double seconds = 0;   ///< between the echoes

  /// The wrapped phase in Hz with the turns that the true field has.
  Volume<float> unwrappedByTruth() const {
    Volume<float> hz(difference.dimensions());
    for (int n = 0; n < hz.size(); ++n) {
      const double truth = turn * seconds * static_cast<double>(truthHz.data()[n]);
      const double apart = wrapped(static_cast<double>(difference.data()[n]) - truth);
      hz.data()[n] = static_cast<float>((truth + apart) / (turn * seconds));
    }
    return hz;
  }
};

struct PhaseFaults {
  double signalToNoise = 10;  ///< of the brain's mean in a magnitude
  bool voids = false;         ///< balls without signal, a pair of singularities through each
};

/// Complex images: signal times exp(i (offset + 2 pi f t)) and normal noise in both parts, the
/// offset being the slow phase that receive coils have.
inline SimulatedPhase simulatePhase(const Phantom& head, double seconds, const PhaseFaults& faults,
                                    std::uint64_t seed) {
  const glm::ivec3 dims = head.truth.dimensions();
  const double sigma = meanInMask(head.truth, head.brainMask) / faults.signalToNoise;
  // Parts of the grid: in front above the sinuses, at an ear, deep.
  const std::vector<glm::dvec3> centres = {{0.5, 0.72, 0.4}, {0.3, 0.5, 0.35}, {0.55, 0.45, 0.55}};
  SimulatedPhase result{Volume<float>(dims), Volume<float>(dims), head.fieldHz, Volume<float>(dims),
                        seconds};
  const RandomStream first(seed, 1), second(seed, 2);
  for (int z = 0, n = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x, ++n) {
        auto signal = static_cast<double>(head.truth.data()[n]);
        const double offset = 0.1 * x - 0.07 * y + 0.004 * z * z;
        double grown = turn * seconds * static_cast<double>(head.fieldHz.data()[n]);
        for (const glm::dvec3& centre : centres) {
          const glm::dvec3 d = glm::dvec3(x, y, z) - centre * glm::dvec3(dims);
          if (!faults.voids || glm::dot(d, d) > 12) continue;
          signal *= 0.02;
          grown += std::atan2(d.y, d.x - 1.2) - std::atan2(d.y, d.x + 1.2);
        }
        const auto noisy = [&](double phase, const RandomStream& random) {
          const auto noise = random.normalPair(static_cast<std::uint64_t>(n));
          return std::polar(signal, phase) +
                 std::complex<double>(sigma * noise.first, sigma * noise.second);
        };
        const std::complex<double> one = noisy(offset, first), two = noisy(offset + grown, second);
        result.difference.data()[n] = static_cast<float>(std::arg(two * std::conj(one)));
        result.magnitude.data()[n] = static_cast<float>(std::abs(one));
        result.brain.data()[n] = head.brainMask.data()[n];
      }
  return result;
}

}  // namespace mirel

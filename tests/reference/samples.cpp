#include "reference/samples.h"

#include <cmath>
#include <limits>

namespace mirel::reference {

template <typename T>
void decodeSamples(double slope, double inter, const T* samples, std::size_t count, float* dst) {
  constexpr double largest = std::numeric_limits<float>::max();
  for (std::size_t n = 0; n < count; ++n) {
    double value = static_cast<double>(samples[n]);
    if (slope != 1 || inter != 0) value = value * slope + inter;
    if (std::abs(value) > largest)
      dst[n] = value > 0 ? INFINITY : -INFINITY;
    else
      dst[n] = static_cast<float>(value);
  }
}

template <typename T>
nifti::ClampedSamples encodeSamples(double slope, double inter, const float* src, std::size_t count,
                                    T* samples) {
  constexpr double least = static_cast<double>(std::numeric_limits<T>::min());
  constexpr double largest = static_cast<double>(std::numeric_limits<T>::max());
  nifti::ClampedSamples clamped;
  for (std::size_t n = 0; n < count; ++n) {
    double value = static_cast<double>(src[n]);
    if (slope != 1 || inter != 0) value = (value - inter) / slope;
    if (std::isnan(value))
      samples[n] = 0;
    else if (value >= largest)
      samples[n] = std::numeric_limits<T>::max();
    else if (value <= least)
      samples[n] = std::numeric_limits<T>::min();
    else
      samples[n] = static_cast<T>(std::nearbyint(value));
    if (value >= largest + 0.5) ++clamped.above;
    if (value < least - 0.5) ++clamped.below;
  }
  return clamped;
}

#define MIREL_SAMPLES(T)                                                         \
  template void decodeSamples<T>(double, double, const T*, std::size_t, float*); \
  template nifti::ClampedSamples encodeSamples<T>(double, double, const float*, std::size_t, T*);
MIREL_SAMPLES(std::int8_t)
MIREL_SAMPLES(std::uint8_t)
MIREL_SAMPLES(std::int16_t)
MIREL_SAMPLES(std::uint16_t)
MIREL_SAMPLES(std::int32_t)
MIREL_SAMPLES(std::uint32_t)
MIREL_SAMPLES(std::int64_t)
MIREL_SAMPLES(std::uint64_t)

}  // namespace mirel::reference

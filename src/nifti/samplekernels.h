#pragma once

#include "nifti/samples.h"
#include "simd/variant.h"

/// The conversion between samples and values as far as whole registers go. What is left over, fewer
/// than 16 of them, is for the caller, who does the same one by one (see decodeSamples and
/// encodeSamples).
namespace mirel::nifti {

/// Values to be stored, or stored samples, and the scaling between them.
struct SampleRun {
  std::size_t count;
  bool isScaled;
  double slope, inter;
};

/// For the integer types of 8, 16 and 32 bits. Adds to `clamped` what it clamps.
/// @return how many of run.count were encoded
template <typename T>
std::size_t encodeRegisters(const SampleRun& run, const float* src, unsigned char* bytes,
                            ClampedSamples& clamped, SimdVariant variant);

/// For the integer types of 8 and 16 bits.
/// @return how many of run.count were decoded
template <typename T>
std::size_t decodeRegisters(const SampleRun& run, const unsigned char* bytes, float* dst,
                            SimdVariant variant);

}  // namespace mirel::nifti

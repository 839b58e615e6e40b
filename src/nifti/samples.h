#pragma once

#include <cstddef>

#include "nifti/header.h"

/// Conversion between stored samples and values.
namespace mirel::nifti {

/// What conversion to 32-bit floats took from values: how many of them it changed, the largest
/// change, and how many finite ones beyond their range became infinite, which do not count there.
struct RoundingLoss {
  std::size_t values = 0;
  double largest = 0;
  std::size_t beyond = 0;
};

/// dst[n] = float(slope * sample + inter), formed in double; without scaling float(sample). An
/// integer of up to 24 bits is thus exact; 64-bit floats beyond the range of float become
/// infinite. `bytes` holds `count` samples of `header.type` in the machine's byte order.
///
/// Loss  is told of finite 64-bit floats, and of integers beyond 2^24 (a smaller one comes out of
///       encodeSamples again, whatever scaling did to its value).
RoundingLoss decodeSamples(const Header& header, const unsigned char* bytes, std::size_t count,
                           float* dst);

/// Samples of an integer type that were clamped to its upper and its lower end.
struct ClampedSamples {
  std::size_t above = 0, below = 0;
};

/// The reverse: sample = (value - inter) / slope, formed in double. For integer types it is
/// rounded to the nearest (ties to even) and clamped to the type's range; NaN becomes 0. Returns
/// how many samples of an integer type were clamped.
ClampedSamples encodeSamples(const Header& header, const float* src, std::size_t count,
                             unsigned char* bytes);

/// Whether every value is an integer that `type`, an integer type, holds. NaN is not.
bool allRepresentable(DataType type, const float* src, std::size_t count);

/// Reverses the byte order of `count` samples of `size` bytes in place.
void swapSamples(unsigned char* bytes, std::size_t count, int size);

}  // namespace mirel::nifti

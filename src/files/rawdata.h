#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>

/// Blocks of samples in the data files of projects: little-endian, without a file header,
///
///   int16    2 bytes, signed
///   float32  4 bytes, as stored in memory (NaN and infinities included)
enum class SampleFormat { int16, float32 };

constexpr std::size_t bytesPerSample(SampleFormat format) {
  return format == SampleFormat::float32 ? sizeof(float) : sizeof(std::int16_t);
}

/// Reads `n` samples into dst[0 .. n-1]. Where the stream ends or fails early, the whole samples
/// read so far are kept, the rest of dst becomes 0, and the stream stays failed.
void readSamples(std::istream& is, SampleFormat format, float* dst, std::size_t n);

/// Writes src[0 .. n-1], as int16 through `wrapToInt16`. Failures show in the stream's state.
void writeSamples(std::ostream& os, SampleFormat format, const float* src, std::size_t n);

/// dst[i] = the low 16 bits of src[i] truncated toward zero to an integer: values outside
/// -32768 .. 32767 wrap around (70000.7 gives 4464). NaN, infinities and magnitudes of 2^63 or
/// more give 0.
void wrapToInt16(const float* src, std::int16_t* dst, std::size_t n);

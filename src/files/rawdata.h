#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>

namespace mirel {

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

/// Writes samples, as int16 through `wrapToInt16`, in whole blocks: slices are small, and a system
/// call for each would take longer than the data. Failures show in the stream's state.
class SampleWriter {
 public:
  SampleWriter(std::ostream& stream, SampleFormat sampleFormat);
  SampleWriter(const SampleWriter&) = delete;
  SampleWriter& operator=(const SampleWriter&) = delete;

  /// Appends src[0 .. n-1].
  void write(const float* src, std::size_t n);
  /// Hands what is left to the stream; to be called after the last sample.
  void finish();

 private:
  std::ostream& os;
  SampleFormat format;
  std::unique_ptr<char[]> block;
  std::size_t used = 0;  // bytes
};

/// dst[i] = the low 16 bits of src[i] truncated toward zero to an integer: values outside
/// -32768 .. 32767 wrap around (70000.7 gives 4464). NaN, infinities and magnitudes of 2^63 or
/// more give 0.
void wrapToInt16(const float* src, std::int16_t* dst, std::size_t n);

}  // namespace mirel

#include "files/rawdata.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <istream>
#include <ostream>

namespace mirel {

static_assert(std::endian::native == std::endian::little,
              "data files are little-endian and read without swapping");

namespace {

// Samples converted at a time: 32 KiB of int16, which stays in the first-level cache.
constexpr std::size_t blockSamples = 16384;
// Bytes written at a time, a multiple of every sample's size.
constexpr std::size_t blockBytes = std::size_t{1} << 18;
// A loop of fixed length is vectorised at -O2, one of unknown length is not.
constexpr std::size_t lane = 64;

void toFloat(const std::int16_t* src, float* dst, std::size_t n) {
  std::size_t i = 0;
  for (; i + lane <= n; i += lane)
    for (std::size_t j = 0; j < lane; ++j) dst[i + j] = static_cast<float>(src[i + j]);
  for (; i < n; ++i) dst[i] = static_cast<float>(src[i]);
}

std::int16_t wrapOne(float value) {
  constexpr float limit = 9223372036854775808.0F;  // 2^63
  if (!(std::fabs(value) < limit)) return 0;       // NaN compares false
  return static_cast<std::int16_t>(static_cast<std::int64_t>(value));
}

/// Whether all values of a lane truncate to 32-bit integers, so that the conversion is one
/// vector instruction.
bool laneFitsInt32(const float* src) {
  int outside = 0;
  for (std::size_t j = 0; j < lane; ++j) outside |= std::fabs(src[j]) < 2147483648.0F ? 0 : 1;
  return outside == 0;
}

/// Reads up to `n` whole samples of `size` bytes; returns their number.
std::size_t readBlock(std::istream& is, void* dst, std::size_t size, std::size_t n) {
  is.read(static_cast<char*>(dst), static_cast<std::streamsize>(size * n));
  return static_cast<std::size_t>(is.gcount()) / size;
}

std::size_t readInt16(std::istream& is, float* dst, std::size_t n) {
  std::array<std::int16_t, blockSamples> block{};
  std::size_t done = 0;
  while (done < n && is.good()) {
    const std::size_t wanted = std::min(blockSamples, n - done);
    const std::size_t got = readBlock(is, block.data(), sizeof(std::int16_t), wanted);
    toFloat(block.data(), dst + done, got);
    done += got;
  }
  return done;
}

}  // namespace

void readSamples(std::istream& is, SampleFormat format, float* dst, std::size_t n) {
  const std::size_t got = format == SampleFormat::float32 ? readBlock(is, dst, sizeof(float), n)
                                                          : readInt16(is, dst, n);
  std::fill(dst + got, dst + n, 0.0F);
}

SampleWriter::SampleWriter(std::ostream& stream, SampleFormat sampleFormat)
    : os(stream), format(sampleFormat), block(std::make_unique_for_overwrite<char[]>(blockBytes)) {}

void SampleWriter::write(const float* src, std::size_t n) {
  const std::size_t size = bytesPerSample(format);
  if (format == SampleFormat::float32 && used == 0 && n * size >= blockBytes) {
    os.write(reinterpret_cast<const char*>(src), static_cast<std::streamsize>(n * size));
    return;
  }
  for (std::size_t done = 0; done < n && os.good();) {
    const std::size_t count = std::min((blockBytes - used) / size, n - done);
    if (format == SampleFormat::float32)
      std::memcpy(block.get() + used, src + done, count * size);
    else
      wrapToInt16(src + done, reinterpret_cast<std::int16_t*>(block.get() + used), count);
    used += count * size;
    done += count;
    if (used == blockBytes) finish();
  }
}

void SampleWriter::finish() {
  os.write(block.get(), static_cast<std::streamsize>(used));
  used = 0;
}

void wrapToInt16(const float* src, std::int16_t* dst, std::size_t n) {
  std::size_t i = 0;
  for (; i + lane <= n; i += lane) {
    if (laneFitsInt32(src + i))
      for (std::size_t j = 0; j < lane; ++j)
        dst[i + j] = static_cast<std::int16_t>(static_cast<std::int32_t>(src[i + j]));
    else
      std::transform(src + i, src + i + lane, dst + i, wrapOne);
  }
  std::transform(src + i, src + n, dst + i, wrapOne);
}

}  // namespace mirel

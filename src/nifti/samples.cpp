#include "nifti/samples.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "base/error.h"
#include "nifti/samplekernels.h"

namespace mirel::nifti {

namespace {

/// Calls `body` with a value of the C++ type that `type` stands for.
template <typename Body>
auto withType(DataType type, const Body& body) {
  switch (type) {
    case DataType::uint8:
      return body(std::uint8_t{});
    case DataType::int16:
      return body(std::int16_t{});
    case DataType::int32:
      return body(std::int32_t{});
    case DataType::float32:
      return body(float{});
    case DataType::float64:
      return body(double{});
    case DataType::int8:
      return body(std::int8_t{});
    case DataType::uint16:
      return body(std::uint16_t{});
    case DataType::uint32:
      return body(std::uint32_t{});
    case DataType::int64:
      return body(std::int64_t{});
    case DataType::uint64:
      return body(std::uint64_t{});
  }
  throw Error("data type " + std::to_string(static_cast<int>(type)) + " is not supported");
}

/// double to float without undefined behaviour for values that float does not reach.
float toFloat(double value) {
  constexpr double largest = std::numeric_limits<float>::max();
  if (value > largest) return std::numeric_limits<float>::infinity();
  if (value < -largest) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(value);
}

/// Nearest whole number, ties to even, without a call of the library for every value.
double rounded(double value) {
  constexpr double wholeFrom = 4503599627370496.0;  // 2^52: larger ones have no fraction
  if (!(std::abs(value) < wholeFrom)) return value;
  const double shift = std::copysign(wholeFrom, value);
  return (value + shift) - shift;
}

/// Nearest value of the integer type T; NaN gives 0.
template <typename T>
T clampTo(double value) {
  using Limits = std::numeric_limits<T>;
  if (std::isnan(value)) return 0;
  // The upper limit of a 64-bit type rounds up to 2^63 or 2^64: "at least" keeps it out.
  if (value >= static_cast<double>(Limits::max())) return Limits::max();
  if (value <= static_cast<double>(Limits::min())) return Limits::min();
  return static_cast<T>(rounded(value));
}

template <typename T>
T toSample(double value) {
  if constexpr (std::numeric_limits<T>::is_integer)
    return clampTo<T>(value);
  else if constexpr (sizeof(T) == sizeof(float))
    return toFloat(value);
  else
    return value;
}

// Types with samples that 32-bit floats do not hold.
template <typename T>
constexpr bool losesDigits = !std::is_same_v<T, float> && sizeof(T) >= 4;

// Types whose samples are encoded, and decoded, register by register.
template <typename T>
constexpr bool hasEncodingKernel = std::numeric_limits<T>::is_integer && sizeof(T) <= 4;
template <typename T>
constexpr bool hasDecodingKernel = std::numeric_limits<T>::is_integer && sizeof(T) <= 2;

SampleRun runOf(const Header& header, std::size_t count) {
  return {count, header.hasScaling(), header.slope, header.inter};
}

template <typename T>
void addLoss(const Header& header, T sample, float decoded, RoundingLoss& loss) {
  constexpr double exactBelow = 1 << 24;
  const double stored = static_cast<double>(sample);
  if (std::numeric_limits<T>::is_integer && std::abs(stored) <= exactBelow) return;
  const double value = header.hasScaling() ? stored * header.slope + header.inter : stored;
  if (std::isfinite(value) && std::isinf(decoded)) ++loss.beyond;
  // Of 64-bit integers a double may have lost the last digits already.
  const double lost = std::abs(value - static_cast<double>(decoded));
  if (!(lost > 0) || !std::isfinite(lost)) return;
  ++loss.values;
  loss.largest = std::max(loss.largest, lost);
}

}  // namespace

RoundingLoss decodeSamples(const Header& header, const unsigned char* bytes, std::size_t count,
                           float* dst) {
  const bool scaled = header.hasScaling();
  return withType(header.type, [&](auto kind) {
    using T = decltype(kind);
    RoundingLoss loss;
    std::size_t n = 0;
    if constexpr (hasDecodingKernel<T>)
      n = decodeRegisters<T>(runOf(header, count), bytes, dst, chosenVariant());
    for (; n < count; n++) {
      T sample;
      std::memcpy(&sample, bytes + n * sizeof(T), sizeof(T));
      if (scaled)
        dst[n] = toFloat(static_cast<double>(sample) * header.slope + header.inter);
      else if constexpr (sizeof(T) == 8 && !std::numeric_limits<T>::is_integer)
        dst[n] = toFloat(sample);
      else
        dst[n] = static_cast<float>(sample);
      if constexpr (losesDigits<T>) addLoss(header, sample, dst[n], loss);
    }
    return loss;
  });
}

ClampedSamples encodeSamples(const Header& header, const float* src, std::size_t count,
                             unsigned char* bytes) {
  const bool scaled = header.hasScaling();
  return withType(header.type, [&](auto kind) {
    using T = decltype(kind);
    ClampedSamples clamped;
    std::size_t n = 0;
    if constexpr (hasEncodingKernel<T>)
      n = encodeRegisters<T>(runOf(header, count), src, bytes, clamped, chosenVariant());
    for (; n < count; n++) {
      double value = static_cast<double>(src[n]);
      if (scaled) value = (value - header.inter) / header.slope;
      const T sample = toSample<T>(value);
      if constexpr (std::numeric_limits<T>::is_integer) {
        clamped.above += value >= static_cast<double>(std::numeric_limits<T>::max()) + 0.5;
        clamped.below += value < static_cast<double>(std::numeric_limits<T>::min()) - 0.5;
      }
      std::memcpy(bytes + n * sizeof(T), &sample, sizeof(T));
    }
    return clamped;
  });
}

bool allRepresentable(DataType type, const float* src, std::size_t count) {
  return withType(type, [&](auto kind) {
    using T = decltype(kind);
    return std::all_of(src, src + count, [](float value) {
      const double v = static_cast<double>(value);
      return static_cast<double>(toSample<T>(v)) == v;
    });
  });
}

void swapSamples(unsigned char* bytes, std::size_t count, int size) {
  const auto width = static_cast<std::size_t>(size);
  for (std::size_t n = 0; n < count; n++) std::reverse(bytes + n * width, bytes + (n + 1) * width);
}

}  // namespace mirel::nifti

#include "files/rawdata.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

namespace mirel {

namespace {

constexpr SampleFormat formats[] = {SampleFormat::int16, SampleFormat::float32};
constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

/// The definition, read off the bits of the float: no conversion to an integer type is involved.
std::uint16_t low16OfTruncated(float value) {
  const auto bits = std::bit_cast<std::uint32_t>(value);
  const int exponent = static_cast<int>((bits >> 23) & 0xFF) - 150;  // of the last mantissa bit
  const std::uint64_t mantissa = (bits & 0x7FFFFF) | 0x800000;
  std::uint64_t magnitude = 0;
  if (exponent < -23 || exponent + 24 > 63) return 0;  // below 1; 2^63 and more, NaN, infinite
  magnitude = exponent < 0 ? mantissa >> -exponent : mantissa << exponent;
  const std::uint64_t low = bits >> 31 ? 0 - magnitude : magnitude;
  return static_cast<std::uint16_t>(low & 0xFFFF);
}

std::vector<std::uint16_t> wrapped(const std::vector<float>& src) {
  std::vector<std::int16_t> dst(src.size(), 12345);
  wrapToInt16(src.data(), dst.data(), src.size());
  return {dst.begin(), dst.end()};
}

std::vector<std::uint16_t> reference(const std::vector<float>& src) {
  std::vector<std::uint16_t> dst;
  for (const float v : src) dst.push_back(low16OfTruncated(v));
  return dst;
}

/// Sample by sample, until one is not whole.
std::vector<float> readOneByOne(std::istream& is, SampleFormat format, std::size_t n) {
  std::vector<float> dst(n, 0.0F);
  for (float& v : dst) {
    char bytes[4];
    if (!is.read(bytes, static_cast<std::streamsize>(bytesPerSample(format)))) break;
    std::int16_t i = 0;
    std::memcpy(&i, bytes, sizeof i);
    v = static_cast<float>(i);
    if (format == SampleFormat::float32) std::memcpy(&v, bytes, sizeof v);
  }
  return dst;
}

/// The bytes of all samples, handed over `step` at a time.
std::string written(SampleFormat format, const std::vector<float>& src, std::size_t step) {
  std::ostringstream os;
  SampleWriter samples(os, format);
  for (std::size_t i = 0; i < src.size(); i += step)
    samples.write(src.data() + i, std::min(step, src.size() - i));
  samples.finish();
  return os.str();
}

std::vector<std::uint32_t> bitsOf(const std::vector<float>& values) {
  std::vector<std::uint32_t> bits;
  for (const float v : values) bits.push_back(std::bit_cast<std::uint32_t>(v));
  return bits;
}

TEST(WrapToInt16, TruncatesTowardZeroAndWraps) {
  EXPECT_EQ(wrapped({70000.7F}), std::vector<std::uint16_t>{4464});
  EXPECT_EQ(wrapped({-0.9F, 0.9F, 1.999F, -1.999F}), (std::vector<std::uint16_t>{0, 0, 1, 0xFFFF}));
  EXPECT_EQ(wrapped({32767.0F, 32768.0F, -32768.0F, -32769.0F, 65536.0F}),
            (std::vector<std::uint16_t>{0x7FFF, 0x8000, 0x8000, 0x7FFF, 0}));
  EXPECT_EQ(wrapped({4294967296.0F * 4, 2147483648.0F + 256, -2147483648.0F - 512}),
            (std::vector<std::uint16_t>{0, 256, 0xFE00}));
}

TEST(WrapToInt16, WhatIsNoIntegerBecomesZero) {
  const float past = 9223372036854775808.0F;  // 2^63
  EXPECT_EQ(wrapped({nan, inf, -inf, past, -past, 1e38F}), std::vector<std::uint16_t>(6, 0));
}

TEST(WrapToInt16, FollowsTheDefinitionForEveryMagnitudeAndBlockSize) {
  std::mt19937 random(1);
  for (std::size_t n : {0u, 1u, 2u, 15u, 63u, 64u, 65u, 127u, 128u, 129u, 1000u}) {
    for (int magnitude = -2; magnitude < 70; ++magnitude) {
      std::uniform_real_distribution<float> mantissa(-2.0F, 2.0F);
      std::vector<float> src(n);
      for (float& v : src) v = std::ldexp(mantissa(random), magnitude);
      EXPECT_EQ(wrapped(src), reference(src)) << n << " of magnitude 2^" << magnitude;
    }
  }
}

TEST(WrapToInt16, OneExtremeValueChangesNothingForItsNeighbours) {
  for (const float extreme : {nan, inf, -inf, 3e9F, -3e9F, 2147483648.0F, 1e20F}) {
    for (std::size_t at = 0; at < 130; at += 3) {
      std::vector<float> src(130);
      for (std::size_t i = 0; i < src.size(); ++i) src[i] = static_cast<float>(i) * 777.7F - 40000;
      src[at] = extreme;
      EXPECT_EQ(wrapped(src), reference(src)) << extreme << " at " << at;
    }
  }
}

TEST(Samples, SignedLittleEndianIntegers) {
  std::istringstream is(std::string("\xFF\xFF\x00\x80\x01\x02", 6));
  std::vector<float> dst(3);
  readSamples(is, SampleFormat::int16, dst.data(), dst.size());
  EXPECT_EQ(dst, (std::vector<float>{-1.0F, -32768.0F, 513.0F}));
}

TEST(Samples, FloatsKeepTheirBits) {
  const std::vector<float> src{1.5F, -0.0F, nan, inf, 1e-40F, std::bit_cast<float>(0xFF800123U)};
  std::istringstream is(written(SampleFormat::float32, src, src.size()));
  std::vector<float> dst(src.size());
  readSamples(is, SampleFormat::float32, dst.data(), dst.size());
  EXPECT_EQ(bitsOf(dst), bitsOf(src));
}

TEST(Samples, BlocksAgreeWithOneByOneForEveryLengthOfAShortFile) {
  const std::size_t n = 16384 + 70;  // more than one block of conversion
  std::vector<float> src(n);
  for (std::size_t i = 0; i < n; ++i) src[i] = static_cast<float>(i % 4001) - 2000.0F;
  for (const SampleFormat format : formats) {
    const std::string whole = written(format, src, n);
    ASSERT_EQ(whole.size(), n * bytesPerSample(format));
    std::vector<std::size_t> lengths{0, 1, 2, 3, 4, 5, 127, 128, 129, whole.size() / 2 + 1};
    for (std::size_t d = 0; d < 9; ++d) lengths.push_back(whole.size() - d);
    for (std::size_t d = 0; d < 5; ++d) lengths.push_back(32768 - 2 + d);
    for (const std::size_t length : lengths) {
      std::istringstream blocks(whole.substr(0, length)), single(whole.substr(0, length));
      std::vector<float> dst(n, nan);
      readSamples(blocks, format, dst.data(), n);
      EXPECT_EQ(dst, readOneByOne(single, format, n)) << length << " bytes";
      EXPECT_EQ(blocks.good(), length == whole.size());
    }
  }
}

/// The bytes of one sample, by the definition.
std::string bytesOf(SampleFormat format, float value) {
  const std::uint32_t bits = format == SampleFormat::float32 ? std::bit_cast<std::uint32_t>(value)
                                                             : low16OfTruncated(value);
  std::string bytes;
  for (std::size_t i = 0; i < bytesPerSample(format); ++i)
    bytes += static_cast<char>(bits >> (8 * i) & 0xFF);
  return bytes;
}

TEST(Samples, WrittenInPiecesOfAnySizeAreTheSamplesInOrder) {
  const std::size_t n = 3 * 131072 + 5;  // several blocks of 256 KiB of either format
  std::vector<float> src(n);
  for (std::size_t i = 0; i < n; ++i) src[i] = static_cast<float>(i % 70001) - 35000.25F;
  for (const SampleFormat format : formats) {
    std::string wanted;
    for (const float value : src) wanted += bytesOf(format, value);
    for (const std::size_t step : {1ul, 7ul, 10816ul, 65535ul, 65536ul, 65537ul, 131072ul, n})
      EXPECT_TRUE(written(format, src, step) == wanted) << "pieces of " << step;
    std::ostringstream os;
    SampleWriter samples(os, format);
    std::size_t done = 0;
    for (std::size_t piece = 3; done < n; piece = piece * 7 % 140000 + 1) {
      const std::size_t count = std::min(piece, n - done);
      samples.write(src.data() + done, count);
      done += count;
    }
    samples.finish();
    EXPECT_TRUE(os.str() == wanted) << "pieces of mixed sizes";
  }
}

TEST(Samples, AFailedStreamTakesNoMoreSamples) {
  for (const SampleFormat format : formats) {
    std::ostringstream os;
    os.setstate(std::ios::badbit);
    SampleWriter samples(os, format);
    const std::vector<float> src(200000, 1.0F);
    samples.write(src.data(), src.size());
    samples.finish();
    EXPECT_TRUE(os.bad());
    EXPECT_EQ(os.str(), "");
  }
}

TEST(Samples, AFailedStreamGivesZeros) {
  for (const SampleFormat format : formats) {
    std::istringstream is("abcdefgh");
    is.setstate(std::ios::failbit);
    std::vector<float> dst(2, nan);
    readSamples(is, format, dst.data(), dst.size());
    EXPECT_EQ(dst, (std::vector<float>{0.0F, 0.0F}));
  }
}

TEST(Samples, NoSamplesAreNoBytes) {
  for (const SampleFormat format : formats) {
    std::istringstream is("ab");
    readSamples(is, format, nullptr, 0);
    EXPECT_TRUE(is.good());
    EXPECT_EQ(written(format, {}, 1), "");
  }
}

}  // namespace

}  // namespace mirel

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "nifti/samples.h"
#include "reference/samples.h"
#include "simd/eachvariant.h"
#include "support/compare.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

using nifti::DataType;

constexpr float infinity = std::numeric_limits<float>::infinity();

// Around the widths of all registers.
constexpr std::size_t counts[] = {0, 1, 3, 4, 7, 8, 15, 16, 17, 31, 33, 64, 65, 1000};

struct Scaling {
  double slope, inter;
};
constexpr Scaling scalings[] = {{1, 0},     {1, -1024},   {0.25, 0}, {-3, 7.5},
                                {0.1, 100}, {1e-30, 0.5}, {1e30, 0}, {1e300, -1e300}};

nifti::Header headerOf(DataType type, const Scaling& scaling) {
  nifti::Header header;
  header.type = type;
  header.slope = scaling.slope;
  header.inter = scaling.inter;
  return header;
}

/// Calls body(type, a value of the C++ type) for every integer type.
template <typename Body>
void forEachInteger(const Body& body) {
  body(DataType::int8, std::int8_t{});
  body(DataType::uint8, std::uint8_t{});
  body(DataType::int16, std::int16_t{});
  body(DataType::uint16, std::uint16_t{});
  body(DataType::int32, std::int32_t{});
  body(DataType::uint32, std::uint32_t{});
  body(DataType::int64, std::int64_t{});
  body(DataType::uint64, std::uint64_t{});
}

void addNeighbours(std::vector<float>& values, float value) {
  for (const float v : {value, -value})
    for (const float towards : {infinity, -infinity, v})
      values.push_back(std::nextafter(v, towards));
}

/// Halves, whole numbers, the ends of all types, each with its neighbours, and what is no number.
std::vector<float> oddValues() {
  std::vector<float> values = {infinity, -infinity, std::nanf(""), 0.0f,
                               -0.0f,    1e-45f,    3e38f,         -3e38f};
  for (int n = 0; n < 12; ++n) addNeighbours(values, 0.5f * static_cast<float>(n));
  for (const int bits : {7, 8, 15, 16, 22, 23, 24, 31, 32, 51, 52, 63, 64})
    for (const float beyond : {-1.5f, -1.0f, -0.5f, 0.0f, 0.5f})
      addNeighbours(values, std::ldexp(1.0f, bits) + beyond);
  return values;
}

/// The odd values among ordinary ones, so that each comes to stand in many lanes.
std::vector<float> mixture(unsigned seed) {
  Random random(seed);
  std::vector<float> values;
  for (int round = 0; round < 5; ++round)
    for (const float odd : oddValues()) {
      values.push_back(odd);
      for (int n = random.below(4); n > 0; --n) values.push_back(random.uniform(-4e4f, 8e4f));
    }
  return values;
}

template <typename T>
void expectEncodedAsByTheReference(DataType type, const Scaling& scaling,
                                   const std::vector<float>& values) {
  std::vector<T> got(values.size() + 1, T{77}), wanted = got;
  const nifti::ClampedSamples of =
      nifti::encodeSamples(headerOf(type, scaling), values.data(), values.size(),
                           reinterpret_cast<unsigned char*>(got.data()));
  const nifti::ClampedSamples ref = reference::encodeSamples(
      scaling.slope, scaling.inter, values.data(), values.size(), wanted.data());
  EXPECT_TRUE(compare::same(got, wanted)) << nifti::nameOf(type) << " slope " << scaling.slope;
  EXPECT_EQ(of.above, ref.above) << nifti::nameOf(type) << " slope " << scaling.slope;
  EXPECT_EQ(of.below, ref.below) << nifti::nameOf(type) << " slope " << scaling.slope;
}

}  // namespace

TEST(SampleKernels, EncodeAsTheReferenceToTheBit) {
  forEachVariant([](SimdVariant) {
    forEachInteger([](DataType type, auto kind) {
      using T = decltype(kind);
      for (const Scaling& scaling : scalings)
        for (unsigned seed = 0; seed < 3; ++seed)
          expectEncodedAsByTheReference<T>(type, scaling, mixture(seed));
    });
  });
}

TEST(SampleKernels, EncodeEveryCountAndNothingBeyond) {
  const std::vector<float> all = mixture(9);
  forEachVariant([&](SimdVariant) {
    forEachInteger([&](DataType type, auto kind) {
      for (const std::size_t count : counts)
        for (const Scaling& scaling : {scalings[0], scalings[2]})
          expectEncodedAsByTheReference<decltype(kind)>(
              type, scaling, {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)});
    });
  });
}

TEST(SampleKernels, DecodeAsTheReferenceToTheBit) {
  Random random(5);
  forEachInteger([&](DataType type, auto kind) {
    using T = decltype(kind);
    std::vector<T> samples = {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), 0, 1};
    while (samples.size() < 1500)
      samples.push_back(static_cast<T>(
          static_cast<std::uint64_t>(random.uniform(0.0, 1.8e19) / std::exp2(random.below(60)))));
    forEachVariant([&](SimdVariant) {
      for (const Scaling& scaling : scalings)
        for (const std::size_t count : counts) {
          std::vector<float> got(count + 1, 77.0f), wanted = got;
          nifti::decodeSamples(headerOf(type, scaling),
                               reinterpret_cast<const unsigned char*>(samples.data()), count,
                               got.data());
          reference::decodeSamples(scaling.slope, scaling.inter, samples.data(), count,
                                   wanted.data());
          EXPECT_TRUE(compare::same(got, wanted)) << nifti::nameOf(type) << " " << scaling.slope;
        }
    });
  });
}

// Every sample there is comes back, whatever its place.
TEST(SampleKernels, All16BitIntegersComeBack) {
  std::vector<std::uint16_t> samples(65536), back(samples.size());
  for (std::size_t n = 0; n < samples.size(); ++n)
    samples[n] = static_cast<std::uint16_t>(n * 40503);
  std::vector<float> values(samples.size());
  forEachVariant([&](SimdVariant) {
    for (const DataType type : {DataType::int16, DataType::uint16})
      for (const Scaling& scaling : {scalings[0], scalings[2]}) {
        const nifti::Header header = headerOf(type, scaling);
        nifti::decodeSamples(header, reinterpret_cast<const unsigned char*>(samples.data()),
                             samples.size(), values.data());
        nifti::encodeSamples(header, values.data(), values.size(),
                             reinterpret_cast<unsigned char*>(back.data()));
        EXPECT_TRUE(compare::same(back, samples)) << nifti::nameOf(type);
      }
  });
}

}  // namespace mirel

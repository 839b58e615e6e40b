#include "nifti/samples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace mirel {

namespace {

using nifti::DataType;

template <typename T>
nifti::RoundingLoss lossOf(DataType type, const std::vector<T>& values, double slope = 1) {
  nifti::Header header;
  header.type = type;
  header.slope = slope;
  std::vector<float> decoded(values.size());
  return nifti::decodeSamples(header, reinterpret_cast<const unsigned char*>(values.data()),
                              values.size(), decoded.data());
}

TEST(Samples, IntegersThatFloatsDoNotHoldAreCounted) {
  const auto loss = lossOf<std::int64_t>(
      DataType::int64, {1 << 24, (1 << 24) + 1, -(1 << 24) - 1, std::int64_t{1} << 60});
  EXPECT_EQ(loss.values, 2u);
  EXPECT_EQ(loss.largest, 1);
  EXPECT_EQ(lossOf<std::uint32_t>(DataType::uint32, {0xffffffffU}).largest, 1);
  EXPECT_EQ(lossOf<std::int32_t>(DataType::int32, {1 << 30, 12345}).values, 0u);
}

// A float of the scaled value still tells which integer it was.
TEST(Samples, ScaledIntegersLoseNothingBelow24Bits) {
  EXPECT_EQ(lossOf<std::int32_t>(DataType::int32, {3, 12345, 1 << 24}, 0.1).values, 0u);
  EXPECT_EQ(lossOf<std::int32_t>(DataType::int32, {(1 << 24) + 3}, 0.1).values, 1u);
}

TEST(Samples, DoublesThatFloatsDoNotHoldAreCounted) {
  const double infinity = std::numeric_limits<double>::infinity();
  const auto loss = lossOf<double>(DataType::float64, {0.5, 0.1, 1e10 + 1, infinity, std::nan("")});
  EXPECT_EQ(loss.values, 2u);
  EXPECT_EQ(loss.largest, 1);
}

TEST(Samples, DoublesBeyondTheRangeOfFloatsAreCountedOnTheirOwn) {
  const double infinity = std::numeric_limits<double>::infinity();
  const auto loss = lossOf<double>(DataType::float64, {1e300, -1e39, 3e38, infinity, std::nan("")});
  EXPECT_EQ(loss.beyond, 2u);
  EXPECT_EQ(loss.values, 1u);
  EXPECT_EQ(lossOf<double>(DataType::float64, {1e30}, 1e10).beyond, 1u);
}

TEST(Samples, ClampedSamplesAreCountedAtBothEnds) {
  nifti::Header header;
  header.type = DataType::uint8;
  const std::vector<float> values = {-0.4f, -0.6f, -1e30f, 0, 255.4f, 255.6f, 300, std::nanf("")};
  std::vector<unsigned char> bytes(values.size());
  const nifti::ClampedSamples clamped =
      nifti::encodeSamples(header, values.data(), values.size(), bytes.data());
  EXPECT_EQ(clamped.below, 2u);
  EXPECT_EQ(clamped.above, 2u);
  EXPECT_EQ(bytes[2], 0);
  EXPECT_EQ(bytes[6], 255);
}

}  // namespace

}  // namespace mirel

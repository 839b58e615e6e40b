#include "report/packedimage.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <zlib.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "nifti/header.h"

namespace {

using namespace mirel;
using namespace mirel::report;

const Grid grid{{5, 4, 3}, glm::dmat4(1)};

Volume<float> imageOf(float factor, float start = 0) {
  Volume<float> image(grid.dims);
  for (int n = 0; n < image.size(); ++n)
    image.data()[n] = start + factor * static_cast<float>((n * 37) % 23);
  return image;
}

// As the page's script does it.
struct Unpacked {
  nifti::Header header;
  std::vector<double> values;

  explicit Unpacked(const std::string& text) {
    std::vector<unsigned char> packed(text.size()), plain(1 << 16);
    const int count =
        EVP_DecodeBlock(packed.data(), reinterpret_cast<const unsigned char*>(text.data()),
                        static_cast<int>(text.size()));
    EXPECT_GT(count, 0);
    z_stream stream{};
    EXPECT_EQ(inflateInit2(&stream, 15 + 16), Z_OK);
    stream.next_in = packed.data();
    stream.avail_in = static_cast<uInt>(count);
    stream.next_out = plain.data();
    stream.avail_out = static_cast<uInt>(plain.size());
    EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
    inflateEnd(&stream);
    header = nifti::parseHeader(plain.data(), stream.total_out, "packed").header;
    const auto size = static_cast<std::size_t>(nifti::bytesPerSample(header.type));
    const std::size_t voxels = (stream.total_out - 352) / size;
    const glm::ivec3 dims = header.dims;
    std::vector<std::int64_t> samples;
    const auto before = [&](std::size_t n, int i, int j, int k) {
      const int x = static_cast<int>(n) % dims.x, y = static_cast<int>(n) / dims.x % dims.y;
      const int z = static_cast<int>(n) / (dims.x * dims.y);
      if (x < i || y < j || z < k) return 0.0;
      const int back = i + dims.x * (j + dims.y * k);
      return static_cast<double>(samples[n - static_cast<std::size_t>(back)]);
    };
    for (std::size_t n = 0; n < voxels; ++n) {
      std::uint32_t stored = 0;
      for (std::size_t b = 0; b < size; ++b)
        stored |= static_cast<std::uint32_t>(plain[352 + b * voxels + n]) << (8 * b);
      const double sum = 2 * (before(n, 1, 0, 0) + before(n, 0, 1, 0) + before(n, 0, 0, 1)) -
                         before(n, 1, 1, 0) - before(n, 1, 0, 1) - before(n, 0, 1, 1);
      const auto expected = static_cast<std::int64_t>(std::floor((sum + 1) / 3));
      const auto bits =
          static_cast<std::uint32_t>(expected) + ((stored >> 1U) ^ (0 - (stored & 1U)));
      samples.push_back(size == 2 ? static_cast<std::int16_t>(bits)
                                  : static_cast<std::int32_t>(bits));
      const float real = std::bit_cast<float>(bits);
      values.push_back(size == 2 ? header.slope * static_cast<double>(samples.back())
                                 : static_cast<double>(real));
    }
  }
};

TEST(PackedImage, HasStepsOfPowersOfTwoAndOfOneForIntegers) {
  const Volume<float> integers = imageOf(1), others = imageOf(0.77F);
  EXPECT_EQ(stepsOf(integers, 1000, 250).size, 4);
  EXPECT_FALSE(stepsOf(integers, 1000, 250).exact);
  EXPECT_EQ(stepsOf(integers, 100, 250).size, 1);
  EXPECT_TRUE(stepsOf(integers, 100, 250).exact);
  EXPECT_EQ(stepsOf(others, 100, 250).size, 0.25);
  EXPECT_FALSE(stepsOf(others, 100, 250).exact);
}

TEST(PackedImage, HoldsIntegersAsTheyAre) {
  const Volume<float> image = imageOf(70, -400);
  const Unpacked unpacked(packedImage(image, grid, stepsOf(image, 8000, 10000).size));
  EXPECT_EQ(unpacked.header.dims, grid.dims);
  EXPECT_EQ(unpacked.header.affine(), grid.affine);
  ASSERT_EQ(unpacked.values.size(), 60U);
  for (int n = 0; n < image.size(); ++n)
    EXPECT_EQ(unpacked.values[static_cast<std::size_t>(n)], image.data()[n]) << n;
}

TEST(PackedImage, RoundsOthersToTheNearestStep) {
  const Volume<float> image = imageOf(0.77F, -9.3F);
  const double step = stepsOf(image, 20, 1000).size;
  EXPECT_EQ(step, 1.0 / 64);
  const Unpacked unpacked(packedImage(image, grid, step));
  EXPECT_EQ(unpacked.header.type, nifti::DataType::int16);
  for (int n = 0; n < image.size(); ++n)
    EXPECT_NEAR(unpacked.values[static_cast<std::size_t>(n)], image.data()[n], step / 2) << n;
}

TEST(PackedImage, KeepsAllBitsOfWhatNoIntegerReaches) {
  Volume<float> image = imageOf(0.77F);
  image.data()[7] = 1e6F;
  image.data()[8] = -std::numeric_limits<float>::infinity();
  const Unpacked unpacked(packedImage(image, grid, stepsOf(imageOf(0.77F), 20, 1000).size));
  EXPECT_EQ(unpacked.header.type, nifti::DataType::float32);
  for (int n = 0; n < image.size(); ++n)
    EXPECT_EQ(unpacked.values[static_cast<std::size_t>(n)], image.data()[n]) << n;
}

TEST(PackedImage, IsSmallWhereLittleChanges) {
  Volume<float> smooth(60, 60, 60);
  for (int n = 0; n < smooth.size(); ++n)
    smooth.data()[n] = 100 * std::sin(0.05F * static_cast<float>(n % 60)) *
                       std::cos(0.04F * static_cast<float>(n / 60 % 60)) *
                       std::cos(0.06F * static_cast<float>(n / 3600));
  const std::string text = packedImage(smooth, {smooth.dimensions(), glm::dmat4(1)}, 1.0 / 16);
  EXPECT_LT(text.size(), static_cast<std::size_t>(smooth.size()) / 2);
  EXPECT_EQ(text, packedImage(smooth, {smooth.dimensions(), glm::dmat4(1)}, 1.0 / 16));
}

}  // namespace

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
    std::uint32_t bits = 0;
    for (std::size_t n = 0; n < voxels; ++n) {
      std::uint32_t stored = 0;
      for (std::size_t b = 0; b < size; ++b)
        stored |= static_cast<std::uint32_t>(plain[352 + b * voxels + n]) << (8 * b);
      bits += (stored >> 1U) ^ (0 - (stored & 1U));
      const auto whole = static_cast<std::int16_t>(bits);
      const float real = std::bit_cast<float>(bits);
      values.push_back(size == 2 ? header.slope * whole : static_cast<double>(real));
    }
  }
};

TEST(PackedImage, HoldsIntegersAsTheyAre) {
  const Volume<float> image = imageOf(70, -400);
  const Unpacked unpacked(packedImage(image, grid, stepOf(image, 8000, 1000)));
  EXPECT_EQ(unpacked.header.dims, grid.dims);
  EXPECT_EQ(unpacked.header.affine(), grid.affine);
  ASSERT_EQ(unpacked.values.size(), 60U);
  for (int n = 0; n < image.size(); ++n)
    EXPECT_EQ(unpacked.values[static_cast<std::size_t>(n)], image.data()[n]) << n;
}

TEST(PackedImage, RoundsOthersToTheNearestStep) {
  const Volume<float> image = imageOf(0.77F, -9.3F);
  const double step = stepOf(image, 20, 1000);
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
  const Unpacked unpacked(packedImage(image, grid, stepOf(imageOf(0.77F), 20, 1000)));
  EXPECT_EQ(unpacked.header.type, nifti::DataType::float32);
  for (int n = 0; n < image.size(); ++n)
    EXPECT_EQ(unpacked.values[static_cast<std::size_t>(n)], image.data()[n]) << n;
}

TEST(PackedImage, IsSmallWhereLittleChanges) {
  Volume<float> smooth(60, 60, 60);
  for (int n = 0; n < smooth.size(); ++n)
    smooth.data()[n] = 100 * std::sin(0.001F * static_cast<float>(n));
  const std::string text = packedImage(smooth, {smooth.dimensions(), glm::dmat4(1)}, 1.0 / 16);
  EXPECT_LT(text.size(), static_cast<std::size_t>(smooth.size()) / 2);
  EXPECT_EQ(text, packedImage(smooth, {smooth.dimensions(), glm::dmat4(1)}, 1.0 / 16));
}

}  // namespace

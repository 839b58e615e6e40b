#include <gtest/gtest.h>
#include <png.h>

#include <cstring>
#include <filesystem>

#include "picture/image.h"
#include "support/temporaryfolder.h"

namespace {

using namespace mirel;
using namespace mirel::picture;

namespace fs = std::filesystem;

RgbImage sampleImage() {
  RgbImage image(37, 23);
  for (int y = 0; y < 23; ++y)
    for (int x = 0; x < 37; ++x)
      image.set(x, y,
                {static_cast<std::uint8_t>(7 * x), static_cast<std::uint8_t>(11 * y),
                 static_cast<std::uint8_t>(x * y)});
  return image;
}

TEST(Png, IsReadBackByTheLibraryPixelByPixel) {
  const TemporaryFolder folder;
  const RgbImage image = sampleImage();
  writePng(folder.file("a.png"), image);
  png_image reader;
  std::memset(&reader, 0, sizeof reader);
  reader.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_file(&reader, folder.file("a.png").c_str()))
      << reader.message;
  ASSERT_EQ(reader.width, 37u);
  ASSERT_EQ(reader.height, 23u);
  reader.format = PNG_FORMAT_RGB;
  std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(reader));
  ASSERT_TRUE(png_image_finish_read(&reader, nullptr, bytes.data(), 0, nullptr));
  for (int y = 0; y < 23; ++y)
    EXPECT_EQ(std::memcmp(bytes.data() + y * 37 * 3, image.row(y), 37 * 3), 0) << y;
}

TEST(Png, HasTheSameBytesForTheSamePicture) {
  const TemporaryFolder folder;
  writePng(folder.file("a.png"), sampleImage());
  writePng(folder.file("b.png"), sampleImage());
  EXPECT_EQ(folder.read("a.png"), folder.read("b.png"));
  EXPECT_GT(folder.read("a.png").size(), 100u);
}

TEST(Png, ReplacesAnOlderFileAndLeavesNothingElse) {
  const TemporaryFolder folder;
  folder.write("a.png", "old");
  writePng(folder.file("a.png"), sampleImage());
  EXPECT_EQ(folder.read("a.png").substr(1, 3), "PNG");
  EXPECT_EQ(folder.names().size(), 1u);
}

TEST(Png, KeepsAPictureWithoutColoursAsGreyWhereAsked) {
  RgbImage image(5, 4);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x) {
      const auto level = static_cast<std::uint8_t>(40 * x + 10 * y);
      image.set(x, y, {level, level, level});
    }
  const auto kindOf = [](const std::vector<unsigned char>& bytes) { return bytes.at(25); };
  EXPECT_EQ(kindOf(pngBytes(image)), PNG_COLOR_TYPE_RGB);
  const std::vector<unsigned char> bytes = pngBytes(image, PngColours::greyWherePossible);
  EXPECT_EQ(kindOf(bytes), PNG_COLOR_TYPE_GRAY);
  png_image reader;
  std::memset(&reader, 0, sizeof reader);
  reader.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_memory(&reader, bytes.data(), bytes.size()));
  reader.format = PNG_FORMAT_GRAY;
  std::vector<std::uint8_t> read(PNG_IMAGE_SIZE(reader));
  ASSERT_TRUE(png_image_finish_read(&reader, nullptr, read.data(), 0, nullptr));
  ASSERT_EQ(read.size(), 20U);
  for (std::size_t n = 0; n < 20; ++n) EXPECT_EQ(read[n], 40 * (n % 5) + 10 * (n / 5)) << n;

  image.set(2, 2, {1, 2, 3});
  EXPECT_EQ(kindOf(pngBytes(image, PngColours::greyWherePossible)), PNG_COLOR_TYPE_RGB);
}

TEST(Png, NamesAFileThatCannotBeWritten) {
  const TemporaryFolder folder;
  fs::create_directory(folder.file("taken.png"));
  folder.write("taken.png/inside", "x");
  for (const std::string& name : {folder.file("missing/a.png"), folder.file("taken.png")}) {
    try {
      writePng(name, sampleImage());
      FAIL() << "no error for " << name;
    } catch (const std::runtime_error& failure) {
      EXPECT_NE(std::string(failure.what()).find(name), std::string::npos) << failure.what();
    }
  }
  // Neither attempt left a part behind.
  EXPECT_EQ(folder.names().size(), 1u);
  EXPECT_THROW(writePng(folder.file("a.png"), RgbImage()), std::invalid_argument);
}

}  // namespace

#include <gtest/gtest.h>
#include <png.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "picture/image.h"

namespace {

using namespace mirel;
using namespace mirel::picture;

namespace fs = std::filesystem;

class PngTest : public testing::Test {
 protected:
  PngTest() {
    std::string pattern = (fs::temp_directory_path() / "mirel-png-XXXXXX").string();
    folder = mkdtemp(pattern.data());
  }
  ~PngTest() override { fs::remove_all(folder); }

  std::string file(const std::string& name) const { return (folder / name).string(); }

  static std::string contentOf(const std::string& name) {
    std::ifstream stream(name, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
  }

  fs::path folder;
};

RgbImage sampleImage() {
  RgbImage image(37, 23);
  for (int y = 0; y < 23; ++y)
    for (int x = 0; x < 37; ++x)
      image.set(x, y,
                {static_cast<std::uint8_t>(7 * x), static_cast<std::uint8_t>(11 * y),
                 static_cast<std::uint8_t>(x * y)});
  return image;
}

TEST_F(PngTest, IsReadBackByTheLibraryPixelByPixel) {
  const RgbImage image = sampleImage();
  writePng(file("a.png"), image);
  png_image reader;
  std::memset(&reader, 0, sizeof reader);
  reader.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_file(&reader, file("a.png").c_str())) << reader.message;
  ASSERT_EQ(reader.width, 37u);
  ASSERT_EQ(reader.height, 23u);
  reader.format = PNG_FORMAT_RGB;
  std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(reader));
  ASSERT_TRUE(png_image_finish_read(&reader, nullptr, bytes.data(), 0, nullptr));
  for (int y = 0; y < 23; ++y)
    EXPECT_EQ(std::memcmp(bytes.data() + y * 37 * 3, image.row(y), 37 * 3), 0) << y;
}

TEST_F(PngTest, HasTheSameBytesForTheSamePicture) {
  writePng(file("a.png"), sampleImage());
  writePng(file("b.png"), sampleImage());
  EXPECT_EQ(contentOf(file("a.png")), contentOf(file("b.png")));
  EXPECT_GT(contentOf(file("a.png")).size(), 100u);
}

TEST_F(PngTest, ReplacesAnOlderFileAndLeavesNothingElse) {
  std::ofstream(file("a.png")) << "old";
  writePng(file("a.png"), sampleImage());
  EXPECT_EQ(contentOf(file("a.png")).substr(1, 3), "PNG");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

TEST_F(PngTest, NamesAFileThatCannotBeWritten) {
  fs::create_directory(file("taken.png"));
  std::ofstream(file("taken.png/inside")) << "x";
  for (const std::string& name : {file("missing/a.png"), file("taken.png")}) {
    try {
      writePng(name, sampleImage());
      FAIL() << "no error for " << name;
    } catch (const std::runtime_error& failure) {
      EXPECT_NE(std::string(failure.what()).find(name), std::string::npos) << failure.what();
    }
  }
  // Neither attempt left a part behind.
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
  EXPECT_THROW(writePng(file("a.png"), RgbImage()), std::invalid_argument);
}

}  // namespace

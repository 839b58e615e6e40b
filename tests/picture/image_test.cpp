#include "picture/image.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

#include "picture/font.h"

namespace mirel {

namespace {

constexpr Colour red{255, 0, 0}, blue{0, 0, 255}, black{0, 0, 0};

TEST(RgbImage, IsFilledAndRefusesImpossibleSizes) {
  const RgbImage image(3, 2, red);
  EXPECT_EQ(image.at(2, 1), red);
  EXPECT_THROW(RgbImage(0, 2), std::invalid_argument);
  EXPECT_THROW(RgbImage(2, -1), std::invalid_argument);
  EXPECT_THROW(RgbImage(20001, 1), std::invalid_argument);
}

TEST(RgbImage, PasteLeavesOutWhatFallsOutside) {
  RgbImage image(4, 3);
  image.paste(RgbImage(3, 3, red), -1, 1);
  image.paste(RgbImage(2, 2, blue), 3, -1);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x)
      EXPECT_EQ(image.at(x, y), x == 3 && y == 0  ? blue
                                : x < 2 && y >= 1 ? red
                                                  : black)
          << x << " " << y;
}

TEST(RgbImage, EnlargedRepeatsPixelsAcrossAndDown) {
  RgbImage image(2, 1, red);
  image.set(1, 0, blue);
  const RgbImage large = image.enlarged(3, 2);
  ASSERT_EQ(large.width(), 6);
  ASSERT_EQ(large.height(), 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 6; ++x) EXPECT_EQ(large.at(x, y), x < 3 ? red : blue);
}

TEST(RgbImage, WritesTextAsDots) {
  RgbImage image(20, 9);
  image.write(1, 1, "I.", red);
  // "I": a bar of five rows between two serifs of three dots.
  EXPECT_EQ(image.at(2, 1), red);
  EXPECT_EQ(image.at(3, 4), red);
  EXPECT_EQ(image.at(2, 4), black);
  EXPECT_EQ(image.at(4, 7), red);
  EXPECT_EQ(image.at(7, 7), black);
  EXPECT_EQ(image.at(9, 7), red);  // the full stop
  EXPECT_EQ(RgbImage::textWidth("I."), 11);
  EXPECT_EQ(RgbImage::textWidth("I.", 2), 22);
  EXPECT_EQ(RgbImage::textWidth(""), 0);
}

TEST(RgbImage, TextOutsideIsLeftOut) {
  RgbImage image(4, 4);
  image.write(-3, -3, "###", red, 2);
  image.write(100, 100, "###", red);
  SUCCEED();  // no access outside: the sanitizers look
}

TEST(Font, LettersAndDigitsDifferAndSmallLettersAreCapitals) {
  std::set<std::array<std::uint8_t, 7>> shapes;
  const std::string characters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ.,:;-+=/%()_!?<>*'#";
  for (const char c : characters) {
    const auto rows = glyphRows(c);
    for (const std::uint8_t row : rows) EXPECT_LT(row, 32);
    shapes.insert(rows);
  }
  EXPECT_EQ(shapes.size(), characters.size());
  EXPECT_EQ(glyphRows('q'), glyphRows('Q'));
  EXPECT_EQ(glyphRows('\x80'), glyphRows(' '));
}

}  // namespace

}  // namespace mirel

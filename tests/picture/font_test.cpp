#include "picture/font.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace mirel;
using namespace mirel::picture;

constexpr Colour white{255, 255, 255}, black{0, 0, 0};

struct Box {
  int left = 1000, top = 1000, right = -1, bottom = -1;  // the last two inclusive
  bool empty() const { return right < 0; }
};

// What is not black, where it is at least half covered.
Box inked(const RgbImage& image) {
  Box box;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      if (image.at(x, y)[0] >= 128) {
        box.left = std::min(box.left, x);
        box.right = std::max(box.right, x);
        box.top = std::min(box.top, y);
        box.bottom = std::max(box.bottom, y);
      }
  return box;
}

RgbImage written(const Font& font, const std::string& text, int size = 40) {
  RgbImage image(font.width(text, size) + 40, 2 * size + 20);
  font.write(image, 20, 20, text, size, white);
  return image;
}

TEST(Font, PutsTheUpperLeftCornerOfCapitalsWhereItIsAsked) {
  const Font font;
  for (const int size : {12, 15, 24, 40}) {
    const Box box = inked(written(font, "H", size));
    ASSERT_FALSE(box.empty());
    EXPECT_NEAR(box.top, 20, 1) << size;
    EXPECT_NEAR(box.bottom + 1, 20 + Font::capitalHeight(size), 1) << size;
    EXPECT_GE(box.left, 20) << size;
    EXPECT_LE(box.right, 20 + font.width("H", size)) << size;
  }
}

TEST(Font, KeepsSmallAndCapitalLettersApart) {
  const Font font;
  const Box capital = inked(written(font, "X")), small = inked(written(font, "x"));
  EXPECT_EQ(capital.bottom, small.bottom);
  EXPECT_GT(small.top, capital.top + 5);
  EXPECT_GT(inked(written(font, "p")).bottom, capital.bottom + 4);  // below the line
}

TEST(Font, HasTheCharactersThatPicturesAreLabelledWith) {
  const Font font;
  const RgbImage missing = written(font, "\uE0F1");  // of private use: the font's empty box
  EXPECT_FALSE(inked(missing).empty());
  for (const char* text : {"\u2212", "±", "°", "µ", "π", "é", "Å", "ß", "Ж", "→", "·", "…", "≤"}) {
    const RgbImage image = written(font, text);
    EXPECT_FALSE(inked(image).empty()) << text;
    EXPECT_NE(image, missing) << text;
  }
}

TEST(Font, WritesAnyBytes) {
  const Font font;
  const RgbImage image = written(font, "a\xFF\xC3z");
  EXPECT_EQ(image, written(font, "a\uFFFD\uFFFDz"));
  EXPECT_EQ(written(font, "a\nb"), written(font, "a b"));
  RgbImage tiny(5, 5);
  font.write(tiny, -20, -20, "outside of the image", 30, white);
  font.write(tiny, 100, 100, "outside", 30, white);
  RgbImage cut(5, 5);
  font.write(cut, -3, -3, "M", 30, white);
  EXPECT_FALSE(inked(cut).empty());
}

TEST(Font, MeasuresWhatItWrites) {
  const Font font;
  EXPECT_EQ(font.width("", 15), 0);
  EXPECT_GT(font.width("mm", 15), font.width("ii", 15) * 2);
  const std::string text = "sub-01_dir-AP_epi";
  const Box box = inked(written(font, text));
  EXPECT_NEAR(box.right - box.left + 1, font.width(text, 40), 6);
  EXPECT_NEAR(font.width(text, 15) * 2, font.width(text, 30), 3);
}

TEST(Font, CutsTextsShortBetweenCharacters) {
  const Font font;
  EXPECT_EQ(font.fitted("short", 15, 1000), "short");
  const std::string text = "ÄÖÜäöüßéÄÖÜäöüßé";
  const std::string cut = font.fitted(text, 15, 80);
  EXPECT_LE(font.width(cut, 15), 80);
  ASSERT_TRUE(cut.ends_with("…"));
  const std::string front = cut.substr(0, cut.size() - std::string("…").size());
  EXPECT_TRUE(text.starts_with(front));
  EXPECT_EQ(front.size() % 2, 0u);  // no half of a two-byte character
  EXPECT_GE(front.size(), 8u);
  EXPECT_EQ(font.fitted("text", 15, 3), "");
}

TEST(Font, LinesOfTextDoNotTouch) {
  const Font font;
  for (const int size : {12, 15}) {
    RgbImage image(200, 100);
    font.write(image, 5, 30, "gjpqy", size, white);
    const int below = inked(image).bottom;
    RgbImage next(200, 100);
    font.write(next, 5, 30 + Font::lineHeight(size), "ÄÉ", size, white);
    EXPECT_GT(inked(next).top, below) << size;
  }
}

}  // namespace

#include "picture/colourbar.h"

#include <gtest/gtest.h>

#include "picture/looks.h"
#include "picture/scale.h"

namespace {

using namespace mirel;
using namespace mirel::picture;

constexpr int size = 13, height = 200;

TEST(ColourBar, RunsFromRedAtTheTopThroughWhiteToBlue) {
  const Font font;
  const RgbImage image = drawColourBar({"Hz", 60.0F}, height, font, size);
  const BarPlace place = barPlace(height, size);
  ASSERT_EQ(image.height(), height);
  const int middle = place.top + place.height / 2;
  EXPECT_EQ(image.at(3, place.top), divergingColour(1));
  EXPECT_EQ(image.at(3, place.top + place.height - 1), divergingColour(-1));
  for (const std::uint8_t c : image.at(3, middle)) EXPECT_GT(c, 250);
  const Colour half = image.at(3, place.top + (place.height - 1) / 4);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(half[i], divergingColour(0.5F)[i], 3);
  EXPECT_EQ(image.at(place.width - 1, middle), image.at(0, middle));
  EXPECT_NE(image.at(place.width + 6, middle), image.at(0, middle));
}

// What is written in the picture at a height, as far as another bar's text can tell.
RgbImage partOf(const RgbImage& image, int top, int rows) {
  RgbImage part(image.width(), rows);
  for (int y = 0; y < rows; ++y)
    for (int x = 0; x < image.width(); ++x) part.set(x, y, image.at(x, top + y));
  return part;
}

TEST(ColourBar, HasItsNumbersAtTheTicks) {
  const Font font;
  const RgbImage image = drawColourBar({"Hz", 60.0F}, height, font, size);
  const BarPlace place = barPlace(height, size);
  const char* numbers[] = {"60", "30", "0", "\u221230", "\u221260"};
  for (int i = 0; i < 5; ++i) {
    const int y = place.top + (place.height - 1) * i / 4;
    EXPECT_EQ(image.at(place.width + 1, y), looks::text) << "tick " << i;
    RgbImage expected(image.width(), height, looks::background);
    font.write(expected, place.width + 8, y - Font::capitalHeight(size) / 2, numbers[i], size,
               looks::text);
    bool same = true;
    for (int v = y - 5; v <= y + 5; ++v)
      for (int u = place.width + 8; u < image.width(); ++u)
        same = same && image.at(u, v) == expected.at(u, v);
    EXPECT_TRUE(same) << numbers[i];
  }
}

TEST(ColourBar, SaysWhenValuesGoOn) {
  const Font font;
  const RgbImage plain = drawColourBar({"Hz", 60.0F}, height, font, size);
  const RgbImage beyond = drawColourBar({"Hz", 60.0F, false, true}, height, font, size);
  EXPECT_GT(beyond.width(), plain.width());  // "≥ 60"
  const RgbImage below = drawColourBar({"Hz", 60.0F, true, false}, height, font, size);
  EXPECT_NE(partOf(below, height - 20, 20), partOf(plain, height - 20, 20));
}

TEST(ColourBar, HasTheUnitAboveOrSaysThatThereIsNone) {
  const Font font;
  const RgbImage hz = drawColourBar({"Hz", 60.0F}, height, font, size);
  const RgbImage none = drawColourBar({"", 60.0F}, height, font, size);
  EXPECT_EQ(none, drawColourBar({"no unit", 60.0F}, height, font, size));
  EXPECT_NE(partOf(hz, 0, 12), RgbImage(hz.width(), 12));
  EXPECT_GE(drawColourBar({std::string(30, 'm'), 1.0F}, height, font, size).width(),
            font.width(std::string(30, 'm'), size));
}

}  // namespace

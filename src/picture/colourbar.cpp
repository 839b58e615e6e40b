#include "picture/colourbar.h"

#include <algorithm>
#include <array>

#include "picture/looks.h"
#include "picture/scale.h"

namespace mirel::picture {

namespace {

constexpr int tickLength = 4;

// The five numbers, from the top.
std::array<std::string, 5> numbersOf(const ColourBar& bar) {
  std::array<std::string, 5> texts;
  for (int i = 0; i < 5; ++i)
    texts[static_cast<std::size_t>(i)] = numberText((2 - i) * 0.5 * static_cast<double>(bar.limit));
  if (bar.above) texts[0] = "\u2265 " + texts[0];
  if (bar.below) texts[4] = "\u2264 " + texts[4];
  return texts;
}

}  // namespace

int leastBarHeight(int size) { return 10 * size; }

BarPlace barPlace(int height, int size) {
  const int above = Font::lineHeight(size) + 8;
  const int below = Font::capitalHeight(size) / 2 + 1;
  return {0, above, size + 3, std::max(height, leastBarHeight(size)) - above - below};
}

RgbImage drawColourBar(const ColourBar& bar, int height, const Font& font, int size) {
  const BarPlace place = barPlace(height, size);
  const std::string unit = bar.unit.empty() ? "no unit" : bar.unit;
  const auto numbers = numbersOf(bar);
  int numberWidth = 0;
  for (const std::string& text : numbers)
    numberWidth = std::max(numberWidth, font.width(text, size));
  const int textLeft = place.width + tickLength + 4;
  RgbImage image(std::max(textLeft + numberWidth, font.width(unit, size)) + 1,
                 std::max(height, leastBarHeight(size)), looks::background);
  font.write(image, 0, 1, unit, size, looks::title);
  for (int y = 0; y < place.height; ++y) {
    const float value =
        1.0F - 2.0F * static_cast<float>(y) / static_cast<float>(std::max(place.height - 1, 1));
    image.fill(place.left, place.top + y, place.width, 1, divergingColour(value));
  }
  for (int i = 0; i < 5; ++i) {
    const int y = place.top + (place.height - 1) * i / 4;
    image.fill(place.width, y, tickLength, 1, looks::text);
    font.write(image, textLeft, y - Font::capitalHeight(size) / 2,
               numbers[static_cast<std::size_t>(i)], size, looks::text);
  }
  return image;
}

}  // namespace mirel::picture

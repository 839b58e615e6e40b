#include "picture/image.h"

#include <stdexcept>

#include "picture/font.h"

namespace mirel {

RgbImage::RgbImage(int width, int height, Colour fill) : columns(width), rows(height) {
  if (width < 1 || height < 1 || width > 20000 || height > 20000)
    throw std::invalid_argument("a picture of " + std::to_string(width) + " x " +
                                std::to_string(height) + " pixels is not possible");
  pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), fill);
}

void RgbImage::paste(const RgbImage& other, int x, int y) {
  for (int v = 0; v < other.rows; ++v)
    for (int u = 0; u < other.columns; ++u)
      if (x + u >= 0 && x + u < columns && y + v >= 0 && y + v < rows)
        set(x + u, y + v, other.at(u, v));
}

RgbImage RgbImage::enlarged(int across, int down) const {
  RgbImage result(columns * across, rows * down);
  for (int y = 0; y < result.rows; ++y)
    for (int x = 0; x < result.columns; ++x) result.set(x, y, at(x / across, y / down));
  return result;
}

void RgbImage::write(int x, int y, std::string_view text, Colour colour, int dot) {
  const auto block = [&](int left, int top) {
    for (int v = top; v < top + dot; ++v)
      for (int u = left; u < left + dot; ++u)
        if (u >= 0 && u < columns && v >= 0 && v < rows) set(u, v, colour);
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto glyph = glyphRows(text[i]);
    for (int v = 0; v < 7; ++v)
      for (int u = 0; u < 5; ++u)
        if (glyph[static_cast<std::size_t>(v)] >> (4 - u) & 1)
          block(x + (static_cast<int>(i) * 6 + u) * dot, y + v * dot);
  }
}

}  // namespace mirel

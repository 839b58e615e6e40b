#include "picture/image.h"

#include <algorithm>
#include <stdexcept>

namespace mirel::picture {

RgbImage::RgbImage(int width, int height, Colour fill) : columns(width), rows(height) {
  if (width < 1 || height < 1 || width > 20000 || height > 20000)
    throw std::invalid_argument("a picture of " + std::to_string(width) + " x " +
                                std::to_string(height) + " pixels is not possible");
  pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), fill);
}

void RgbImage::fill(int x, int y, int width, int height, Colour colour) {
  for (int v = std::max(y, 0); v < std::min(y + height, rows); ++v)
    for (int u = std::max(x, 0); u < std::min(x + width, columns); ++u) set(u, v, colour);
}

void RgbImage::paste(const RgbImage& other, int x, int y) {
  for (int v = 0; v < other.rows; ++v)
    for (int u = 0; u < other.columns; ++u)
      if (contains(x + u, y + v)) set(x + u, y + v, other.at(u, v));
}

}  // namespace mirel::picture

#include "picture/draw.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace mirel::picture {

namespace {

// A picture of the cut's size with colourAt(index of the pixel).
template <typename ColourAt>
RgbImage draw(const Cut& cut, ColourAt colourAt) {
  RgbImage image(cut.width, cut.height);
  for (int y = 0; y < cut.height; ++y)
    for (int x = 0; x < cut.width; ++x) image.set(x, y, colourAt(cut.index(x, y)));
  return image;
}

void requireSameSize(const Cut& a, const Cut& b) {
  if (a.width != b.width || a.height != b.height)
    throw std::invalid_argument("slices that are laid over one another must have the same size");
}

void requireSameSize(const Cut& a, const Measured& b) {
  if (!b.empty() && b.size() != a.values.size())
    throw std::invalid_argument("a slice and what was measured of it must have the same size");
}

float weightAt(const Measured& measured, std::size_t i) {
  return measured.empty() || measured[i] != 0 ? 1.0F : mapWeight.unmeasured;
}

}  // namespace

RgbImage drawGrey(const Cut& image, Window window) {
  return draw(image, [&](std::size_t i) {
    const std::uint8_t g = image.covered[i] ? toByte(window.grey(image.values[i])) : 0;
    return Colour{g, g, g};
  });
}

RgbImage drawOverlay(const Cut& first, Window firstWindow, const Cut& second, Window secondWindow) {
  requireSameSize(first, second);
  const auto byteOf = [](const Cut& cut, Window window, std::size_t i) {
    return cut.covered[i] ? toByte(window.grey(cut.values[i])) : std::uint8_t{0};
  };
  return draw(first, [&](std::size_t i) {
    const std::uint8_t cyan = byteOf(second, secondWindow, i);
    return Colour{byteOf(first, firstWindow, i), cyan, cyan};
  });
}

RgbImage drawMap(const Cut& map, float limit, const Measured& measured) {
  requireSameSize(map, measured);
  const Colour black{0, 0, 0};
  return draw(map, [&](std::size_t i) {
    if (!map.covered[i]) return black;
    return mixed(black, divergingColour(map.values[i] / limit), weightAt(measured, i));
  });
}

RgbImage drawMapOver(const Cut& anatomy, Window window, const Cut& map, float limit,
                     const Measured& measured) {
  requireSameSize(anatomy, map);
  requireSameSize(map, measured);
  return draw(map, [&](std::size_t i) {
    const std::uint8_t g =
        anatomy.covered[i] ? toByte(window.grey(anatomy.values[i])) : std::uint8_t{0};
    const Colour grey{g, g, g};
    if (!map.covered[i] || !std::isfinite(map.values[i])) return grey;
    const float value = map.values[i] / limit;
    const float weight =
        mapWeight.atLimit * std::pow(std::min(std::abs(value), 1.0F), mapWeight.exponent);
    return mixed(grey, divergingColour(value), weight * weightAt(measured, i));
  });
}

}  // namespace mirel::picture

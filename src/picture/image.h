#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "picture/colour.h"

namespace mirel::picture {

/// A picture of pixels, rows from the top.
class RgbImage {
 public:
  RgbImage() = default;
  /// Errors  std::invalid_argument unless width and height are 1 to 20000.
  RgbImage(int width, int height, Colour fill = {0, 0, 0});

  int width() const { return columns; }
  int height() const { return rows; }
  bool contains(int x, int y) const { return x >= 0 && x < columns && y >= 0 && y < rows; }
  Colour at(int x, int y) const { return pixels[index(x, y)]; }
  void set(int x, int y, Colour colour) { pixels[index(x, y)] = colour; }
  const std::uint8_t* row(int y) const { return pixels[index(0, y)].data(); }

  /// In each of the following, what falls outside is left out.

  /// Mixes `weight` (0 to 1) of `colour` into a pixel.
  void blend(int x, int y, Colour colour, float weight) {
    if (contains(x, y)) set(x, y, mixed(at(x, y), colour, weight));
  }
  /// Fills the rectangle that has its upper left corner at (x, y).
  void fill(int x, int y, int width, int height, Colour colour);
  /// Copies `other` to (x, y).
  void paste(const RgbImage& other, int x, int y);

  bool operator==(const RgbImage&) const = default;

 private:
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(columns) +
           static_cast<std::size_t>(x);
  }

  int columns = 0, rows = 0;
  std::vector<Colour> pixels;
};

/// Whether a picture without colours is kept as one: a third of the bytes before packing.
enum class PngColours { rgb, greyWherePossible };

/// The bytes of an 8-bit PNG file. Equal pictures make equal bytes (no time stamp).
/// Errors  std::invalid_argument for an empty picture.
std::vector<unsigned char> pngBytes(const RgbImage& image, PngColours colours = PngColours::rgb);

/// Writes an 8-bit RGB PNG file, whole or not at all. Equal pictures make equal bytes (no time
/// stamp).
///
/// Errors  std::invalid_argument for an empty picture; Error with the file's name and the
///         fault if it cannot be written.
void writePng(const std::string& fileName, const RgbImage& image);

}  // namespace mirel::picture

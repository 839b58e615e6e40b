#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mirel {

/// A red, green and blue value, 0 to 255 each.
using Colour = std::array<std::uint8_t, 3>;

/// A picture of pixels, rows from the top.
class RgbImage {
 public:
  RgbImage() = default;
  /// Errors  std::invalid_argument unless width and height are 1 to 20000.
  RgbImage(int width, int height, Colour fill = {0, 0, 0});

  int width() const { return columns; }
  int height() const { return rows; }
  Colour at(int x, int y) const { return pixels[index(x, y)]; }
  void set(int x, int y, Colour colour) { pixels[index(x, y)] = colour; }
  const std::uint8_t* row(int y) const { return pixels[index(0, y)].data(); }

  /// Copies `other` to (x, y); what falls outside is left out.
  void paste(const RgbImage& other, int x, int y);

  /// Each pixel becomes a block of `across` x `down` pixels.
  RgbImage enlarged(int across, int down) const;

  /// Writes capitals, digits and common punctuation in a font of 5 x 7 dots, 6 apart, from the
  /// upper left corner (x, y), each dot `dot` pixels wide. Small letters are written as capitals,
  /// unknown characters as blanks; what falls outside is left out.
  void write(int x, int y, std::string_view text, Colour colour, int dot = 1);
  static int textWidth(std::string_view text, int dot = 1) {
    return text.empty() ? 0 : (static_cast<int>(text.size()) * 6 - 1) * dot;
  }

  bool operator==(const RgbImage&) const = default;

 private:
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(columns) +
           static_cast<std::size_t>(x);
  }

  int columns = 0, rows = 0;
  std::vector<Colour> pixels;
};

/// Writes an 8-bit RGB PNG file, whole or not at all: under a temporary name in the same folder,
/// then renamed. Equal pictures make equal bytes (no time stamp).
///
/// Errors  std::invalid_argument for an empty picture; std::runtime_error with the file's name
///         and the fault if it cannot be written.
void writePng(const std::string& fileName, const RgbImage& image);

}  // namespace mirel

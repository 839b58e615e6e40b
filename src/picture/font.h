#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "picture/image.h"

namespace mirel::picture {

/// Writes text in the font that is part of the program (fontdata.h): Latin, Greek, Cyrillic and
/// more. A character that the font does not have is an empty box; scripts that need shaping
/// (Arabic, Devanagari) and combining accents stand side by side, unjoined.
///
/// Texts   UTF-8, see decodeUtf8. Sizes are in pixels per em: capitals are 0.73 of that high.
/// Errors  std::runtime_error where the FreeType library fails; none is expected.
class Font {
 public:
  Font();
  Font(const Font&) = delete;
  Font& operator=(const Font&) = delete;
  ~Font();

  /// Pixels that the text takes along its line.
  int width(std::string_view text, int size) const;
  /// From the top of one line to that of the next: letters with their accents fit in between.
  static int lineHeight(int size) { return size + (size + 3) / 4; }
  /// Height of capitals and digits.
  static int capitalHeight(int size) { return (size * 73 + 50) / 100; }

  /// Writes one line with the upper left corner of its capitals at (left, top). What falls outside
  /// of the image is left out.
  void write(RgbImage& image, int left, int top, std::string_view text, int size,
             Colour colour) const;

  /// The text, or as much of its beginning as fits into `width` pixels with an ellipsis behind;
  /// empty when not even that fits.
  std::string fitted(std::string_view text, int size, int width) const;

 private:
  struct Library;
  std::unique_ptr<Library> library;
};

}  // namespace mirel::picture

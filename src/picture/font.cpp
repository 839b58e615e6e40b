#include "picture/font.h"

#include <ft2build.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>
#include FT_FREETYPE_H

#include "picture/fontdata.h"
#include "picture/utf8.h"

namespace mirel::picture {

namespace {

void check(FT_Error error, const char* what) {
  if (error)
    throw std::runtime_error(std::string("the font cannot be ") + what + " (FreeType error " +
                             std::to_string(error) + ")");
}

// FreeType's unit of length is a 64th of a pixel.
int toPixels(long sixtyFourths) { return static_cast<int>((sixtyFourths + 32) >> 6); }

void blend(RgbImage& image, const FT_Bitmap& bitmap, int left, int top, Colour colour) {
  for (int v = 0; v < static_cast<int>(bitmap.rows); ++v)
    for (int u = 0; u < static_cast<int>(bitmap.width); ++u) {
      const unsigned char cover = bitmap.buffer[v * bitmap.pitch + u];
      if (cover > 0) image.blend(left + u, top + v, colour, static_cast<float>(cover) / 255.0F);
    }
}

}  // namespace

struct Font::Library {
  FT_Library handle = nullptr;
  FT_Face face = nullptr;

  Library() {
    check(FT_Init_FreeType(&handle), "read");
    const auto data = fontData();
    const FT_Error error =
        FT_New_Memory_Face(handle, data.data(), static_cast<FT_Long>(data.size()), 0, &face);
    if (error) FT_Done_FreeType(handle);
    check(error, "read");
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() {
    FT_Done_Face(face);
    FT_Done_FreeType(handle);
  }

  // Calls use(glyph, pen position in 64ths) for every character; returns the text's length in
  // 64ths.
  template <typename Use>
  long forEachGlyph(std::string_view text, int size, FT_Int32 flags, Use use) const {
    check(FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(size)), "set to its size");
    long pen = 0;
    for (const char32_t character : decodeUtf8(text)) {
      // Shapes are fitted to pixel rows but not to columns, and advance by fractions of a pixel.
      check(FT_Load_Char(face, character, FT_LOAD_TARGET_LIGHT | flags), "drawn");
      use(face->glyph, pen);
      pen += face->glyph->linearHoriAdvance >> 10;
    }
    return pen;
  }
};

Font::Font() : library(std::make_unique<Library>()) {}
Font::~Font() = default;

int Font::width(std::string_view text, int size) const {
  const auto nothing = [](FT_GlyphSlot, long) {};
  return toPixels(library->forEachGlyph(text, size, FT_LOAD_DEFAULT, nothing));
}

void Font::write(RgbImage& image, int left, int top, std::string_view text, int size,
                 Colour colour) const {
  const int baseline = top + capitalHeight(size);
  library->forEachGlyph(text, size, FT_LOAD_RENDER, [&](FT_GlyphSlot glyph, long pen) {
    blend(image, glyph->bitmap, left + toPixels(pen) + glyph->bitmap_left,
          baseline - glyph->bitmap_top, colour);
  });
}

std::string Font::fitted(std::string_view text, int size, int room) const {
  if (width(text, size) <= room) return std::string(text);
  std::vector<std::size_t> ends;  // of the text's beginnings, by character
  for (std::size_t at = 0; at < text.size(); ++at)
    if ((static_cast<unsigned char>(text[at]) & 0xC0) != 0x80) ends.push_back(at);
  const auto shortened = [&](std::size_t end) {
    return end == 0 ? std::string() : std::string(text.substr(0, end)) + "\u2026";
  };
  const auto tooLong = std::partition_point(ends.begin(), ends.end(), [&](std::size_t end) {
    return width(shortened(end), size) <= room;
  });
  return tooLong == ends.begin() ? std::string() : shortened(*(tooLong - 1));
}

}  // namespace mirel::picture

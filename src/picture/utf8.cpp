#include "picture/utf8.h"

#include <cstddef>

namespace mirel::picture {

namespace {

constexpr char32_t replacement = 0xFFFD;

// The form of a sequence that begins with `lead`: how many bytes follow, the bits of `lead` that
// count, and the least character that needs so many bytes. -1 following: no beginning.
struct Form {
  int following;
  char32_t bits;
  char32_t least;
};

Form formOf(unsigned char lead) {
  if (lead < 0x80) return {0, 0x7F, 0};
  if (lead >= 0xC0 && lead < 0xE0) return {1, 0x1F, 0x80};
  if (lead >= 0xE0 && lead < 0xF0) return {2, 0x0F, 0x800};
  if (lead >= 0xF0 && lead < 0xF8) return {3, 0x07, 0x10000};
  return {-1, 0, 0};
}

bool allowed(char32_t character, char32_t least) {
  return character >= least && character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
}

bool isControl(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

}  // namespace

std::vector<char32_t> decodeUtf8(std::string_view text) {
  std::vector<char32_t> characters;
  for (std::size_t at = 0; at < text.size();) {
    const Form form = formOf(static_cast<unsigned char>(text[at]));
    char32_t character = static_cast<unsigned char>(text[at]) & form.bits;
    bool whole = form.following >= 0;
    std::size_t next = at + 1;
    for (int i = 0; whole && i < form.following; ++i, ++next) {
      whole = next < text.size() && (static_cast<unsigned char>(text[next]) & 0xC0) == 0x80;
      if (whole) character = character << 6 | (static_cast<unsigned char>(text[next]) & 0x3F);
    }
    if (!whole || !allowed(character, form.least)) {
      characters.push_back(replacement);
      ++at;
      continue;
    }
    characters.push_back(isControl(character) ? U' ' : character);
    at = next;
  }
  return characters;
}

}  // namespace mirel::picture

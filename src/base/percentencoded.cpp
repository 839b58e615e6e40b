#include "base/percentencoded.h"

#include <string_view>

namespace mirel {

std::string percentEncoded(const std::string& path) {
  constexpr std::string_view plain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/-._~";
  constexpr const char* digits = "0123456789ABCDEF";
  std::string text;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (plain.find(c) != std::string_view::npos)
      text += c;
    else
      text += {'%', digits[byte >> 4U], digits[byte & 15U]};
  }
  return text;
}

}  // namespace mirel

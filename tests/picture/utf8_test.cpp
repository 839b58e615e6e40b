#include "picture/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using mirel::picture::decodeUtf8;
using Characters = std::vector<char32_t>;

constexpr char32_t bad = 0xFFFD;

TEST(DecodeUtf8, ReadsOneToFourBytes) {
  EXPECT_EQ(decodeUtf8("aé€\U0001F9E0z"), (Characters{U'a', U'é', U'€', 0x1F9E0, U'z'}));
  EXPECT_EQ(decodeUtf8(""), Characters{});
  EXPECT_EQ(decodeUtf8("\x7E\xC2\xA0\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBD\xF4\x8F\xBF\xBF"),
            (Characters{0x7E, 0xA0, 0x7FF, 0x800, 0xFFFD, 0x10FFFF}));
}

TEST(DecodeUtf8, ReplacesEachByteThatIsNoUtf8) {
  EXPECT_EQ(decodeUtf8("a\xFFz"), (Characters{U'a', bad, U'z'}));
  EXPECT_EQ(decodeUtf8("\x80"), (Characters{bad}));
  EXPECT_EQ(decodeUtf8("\xE2\x82"), (Characters{bad, bad}));           // cut short
  EXPECT_EQ(decodeUtf8("\xE2z"), (Characters{bad, U'z'}));             // cut short
  EXPECT_EQ(decodeUtf8("\xC0\xAF"), (Characters{bad, bad}));           // overlong
  EXPECT_EQ(decodeUtf8("\xE0\x9F\xBF"), (Characters{bad, bad, bad}));  // overlong
  EXPECT_EQ(decodeUtf8("\xED\xA0\x80"), (Characters{bad, bad, bad}));  // surrogate
  EXPECT_EQ(decodeUtf8("\xF4\x90\x80\x80"), (Characters{bad, bad, bad, bad}));
}

TEST(DecodeUtf8, MakesControlCharactersBlank) {
  EXPECT_EQ(decodeUtf8("a\n\t\x1B\x7F\xC2\x85z"),
            (Characters{U'a', U' ', U' ', U' ', U' ', U' ', U'z'}));
  EXPECT_EQ(decodeUtf8(std::string("a\0z", 3)), (Characters{U'a', U' ', U'z'}));
}

TEST(DecodeUtf8, TakesAnyTwoBytes) {
  for (int a = 0; a < 256; ++a)
    for (int b = 0; b < 256; ++b) {
      const std::string text{static_cast<char>(a), static_cast<char>(b)};
      const std::size_t count = decodeUtf8(text).size();
      EXPECT_EQ(count, a >= 0xC2 && a < 0xE0 && b >= 0x80 && b < 0xC0 ? 1u : 2u) << a << " " << b;
    }
}

}  // namespace

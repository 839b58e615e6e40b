#include "base/plaintext.h"

#include <algorithm>
#include <cctype>

#include "base/error.h"

namespace mirel {

namespace {

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

bool isControl(char c) {
  return std::iscntrl(static_cast<unsigned char>(c)) != 0 &&
         std::isspace(static_cast<unsigned char>(c)) == 0;
}

}  // namespace

void requirePlainText(const std::string& text, const std::string& fileName) {
  for (const char* mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"})
    if (text.starts_with(mark))
      throw Error(fileName,
                  "begins with a byte-order mark, as some editors write it: save it as "
                  "plain text without one");
  const auto control = std::find_if(text.begin(), text.end(), isControl);
  if (control == text.end()) return;
  throw Error(fileName, "is no text file: line " +
                            std::to_string(1 + std::count(text.begin(), control, '\n')) +
                            " holds the control byte " +
                            std::to_string(static_cast<unsigned char>(*control)));
}

std::string decimalCommaText(const std::string& text) {
  for (std::size_t at = text.find(','); at != std::string::npos; at = text.find(',', at + 1))
    if (at > 0 && at + 1 < text.size() && isDigit(text[at - 1]) && isDigit(text[at + 1]))
      return " (is that a decimal comma? numbers have points)";
  return {};
}

std::string withoutControlBytes(const std::string& text) {
  std::string shown;
  for (std::size_t n = 0; n < text.size(); ++n) {
    const char c = text[n];
    const bool kept = c == '\n' || c == '\t';
    // U+0080 to U+009F are C2 80 to C2 9F.
    const bool upper = c == '\xC2' && n + 1 < text.size() &&
                       static_cast<unsigned char>(text[n + 1]) >= 0x80 &&
                       static_cast<unsigned char>(text[n + 1]) < 0xA0;
    const bool control = std::iscntrl(static_cast<unsigned char>(c)) != 0;
    shown += upper || (control && !kept) ? '?' : c;
    if (upper) ++n;
  }
  return shown;
}

}  // namespace mirel

#pragma once

#include <string>

namespace mirel {

/// Refuses what is no plain text, as tables of numbers have to be. Bytes above 127 pass: comments
/// may be in any language.
///
/// Errors  Error, naming the file: it begins with a byte-order mark of UTF-8 or UTF-16, or holds
///         control bytes other than tabulators and ends of lines or pages; then with the line,
///         counted from 1.
void requirePlainText(const std::string& text, const std::string& fileName);

/// For a sentence about a word that is no number: " (is that a decimal comma? numbers have
/// points)" where a comma stands between two digits, else nothing.
std::string decimalCommaText(const std::string& text);

/// The text as a terminal may see it: control bytes but for ends of lines and tabulators are
/// replaced by "?", among them those of 0x80 to 0x9F in UTF-8. Files and their names hold anything.
std::string withoutControlBytes(const std::string& text);

}  // namespace mirel

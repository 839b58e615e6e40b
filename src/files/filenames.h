#pragma once

#include <string>

namespace mirel {

/// Pure functions of file names; none touches the file system. "/" and backslash both separate
/// directories. The extension is everything from the last dot of the whole name on: where the
/// file itself has no dot, a dot in a directory's name counts. Comparisons are case-sensitive.

/// Everything up to and including the last separator; empty when there is none.
std::string getPath(const std::string& name);
/// Everything after the last separator; the whole name when there is none.
std::string getFileName(const std::string& name);
/// Everything before the last dot; the whole name when there is none.
std::string removeExtension(const std::string& name);
/// The name with `text` inserted before the last dot. A name without a dot fails with
/// std::out_of_range ("basic_string::substr").
std::string addToFileName(const std::string& name, const std::string& text);
/// `removeExtension(name)` + `text`, which usually carries its own dot and extension.
std::string addToFileNameNewExtension(const std::string& name, const std::string& text);
/// `newPath` + `getFileName(name)`; no separator is put between them.
std::string replacePath(const std::string& name, const std::string& newPath);
/// `removeExtension(name)` + "." + `extension` (given without its dot).
std::string replaceExtension(const std::string& name, const std::string& extension);
/// The characters between the first double quote and the next, or the end of the text; empty
/// when there is no quote.
std::string extractPartBetweenQuotes(const std::string& text);
/// The last `n` characters; the whole text when it is shorter.
std::string getLastCharacters(const std::string& text, unsigned int n);
/// The text without leading and trailing spaces and tabs; a text of blanks only is returned
/// unchanged.
std::string removeEnclosingWhiteSpaces(const std::string& text);
/// Whether the name ends with "." + `extension`.
bool hasExtension(const std::string& name, const std::string& extension);

}  // namespace mirel

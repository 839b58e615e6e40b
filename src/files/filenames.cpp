#include "files/filenames.h"

namespace mirel {

namespace {

/// The position of the first character of the file's own name.
std::size_t fileNameStart(const std::string& name) {
  const std::size_t separator = name.find_last_of("/\\");
  return separator == std::string::npos ? 0 : separator + 1;
}

}  // namespace

std::string getPath(const std::string& name) { return name.substr(0, fileNameStart(name)); }

std::string getFileName(const std::string& name) { return name.substr(fileNameStart(name)); }

std::string removeExtension(const std::string& name) { return name.substr(0, name.rfind('.')); }

std::string addToFileName(const std::string& name, const std::string& text) {
  const std::size_t dot = name.rfind('.');
  // Without a dot the second cut starts beyond the end and throws: callers pass project names.
  return name.substr(0, dot) + text + name.substr(dot);
}

std::string addToFileNameNewExtension(const std::string& name, const std::string& text) {
  return removeExtension(name) + text;
}

std::string replacePath(const std::string& name, const std::string& newPath) {
  return newPath + getFileName(name);
}

std::string replaceExtension(const std::string& name, const std::string& extension) {
  return removeExtension(name) + "." + extension;
}

std::string extractPartBetweenQuotes(const std::string& text) {
  const std::size_t first = text.find('"');
  if (first == std::string::npos) return "";
  const std::size_t second = text.find('"', first + 1);
  return text.substr(first + 1, second == std::string::npos ? second : second - first - 1);
}

std::string getLastCharacters(const std::string& text, unsigned int n) {
  return text.size() <= n ? text : text.substr(text.size() - n);
}

std::string removeEnclosingWhiteSpaces(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return text;
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool hasExtension(const std::string& name, const std::string& extension) {
  return name.ends_with("." + extension);
}

}  // namespace mirel

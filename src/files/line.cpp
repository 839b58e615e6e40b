#include "files/line.h"

#include <iomanip>
#include <istream>
#include <ostream>

namespace mirel {

namespace {

/// The label, left-justified in a field of the line's width.
void printLabel(std::ostream& os, const std::string& name, int width) {
  const std::ios_base::fmtflags flags = os.flags();
  os << std::left << std::setw(width) << (name + ":");
  os.flags(flags);
}

void printLineFeeds(std::ostream& os, int n) {
  for (int i = 0; i < n; ++i) os << "\n";
}

std::string withoutTrailingBlanks(std::string text) {
  // No such character: npos + 1 is 0, and all of the text goes.
  text.erase(text.find_last_not_of(" \t") + 1);
  return text;
}

/// `quoted` is used by strings only.
template <typename T>
void readValue(std::istream& is, T& value, bool& /*quoted*/) {
  is >> value;
}

void readValue(std::istream& is, std::string& value, bool& quoted) {
  std::string text;
  std::getline(is, text);
  text = withoutTrailingBlanks(std::move(text));
  quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
  value = quoted ? text.substr(1, text.size() - 2) : text;
}

void printValue(std::ostream& os, int value, bool /*quoted*/) { os << value; }

void printValue(std::ostream& os, float value, bool /*quoted*/) {
  os << static_cast<double>(value);
}

void printValue(std::ostream& os, bool value, bool /*quoted*/) { os << (value ? "1" : "0"); }

void printValue(std::ostream& os, const std::string& value, bool quoted) {
  const char* quote = quoted ? "\"" : "";
  os << quote << value << quote;
}

}  // namespace

template <typename T>
void Line<T>::readLine(std::istream& is, const std::string& label) {
  getNameAndWidth(is, label, storedName, storedWidth);
  readValue(is, storedValue, quoted);
  holdsValue = true;
}

template <typename T>
void Line<T>::printLineIfAllSet(std::ostream& os, int n) const {
  if (!holdsValue) return;
  printLabel(os, storedName, storedWidth);
  printValue(os, storedValue, quoted);
  printLineFeeds(os, n);
}

template class Line<int>;
template class Line<float>;
template class Line<bool>;
template class Line<std::string>;

void getNameAndWidth(std::istream& is, const std::string& label, std::string& name, int& width) {
  name = label.substr(0, label.empty() ? 0 : label.size() - 1);
  width = static_cast<int>(label.size());
  for (int next = is.peek(); next == ' ' || next == '\t'; next = is.peek()) {
    is.get();
    ++width;
  }
}

void readYesNo(Line<bool>& line, std::istream& is, const std::string& label) {
  std::string name;
  int width = 0;
  getNameAndWidth(is, label, name, width);
  const int first = is.peek();
  line.set(name, first != 'N' && first != 'n', width);
  std::string rest;
  std::getline(is, rest);
}

void printYesNoIfAllSet(const Line<bool>& line, std::ostream& os, int n) {
  if (!line.isSet()) return;
  printLabel(os, line.getName(), line.getWidth());
  os << (line.value() ? "YES" : "NO");
  printLineFeeds(os, n);
}

}  // namespace mirel

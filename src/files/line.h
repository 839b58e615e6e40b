#pragma once

#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>

namespace mirel {

/// How a line of text writes its value.
enum class LineQuotes { none, around };

/// One line of a project header:
///
///   line  = key ":" { " " | tab } value "\n"
///
/// It remembers the column at which its value stood (its width), so that a header that is read
/// and written back keeps its alignment, and whether it was read at all, so that keys absent
/// from the input stay absent from the output.
///
/// Instantiated for int, float, bool and std::string. Nothing makes a set line unset again.
/// Before it is read or set, the value is 0, false or empty and the width 0.
template <typename T>
class Line {
 public:
  Line() = default;
  /// A set line. `width` is the column of the value: the label's length, colon included, plus
  /// the blanks behind it.
  Line(std::string name, T value, int width) requires(!std::is_same_v<T, std::string>)
      : storedName(std::move(name)), storedValue(value), storedWidth(width), holdsValue(true) {}
  void set(std::string name, const T& value, int width) requires(!std::is_same_v<T, std::string>) {
    storedName = std::move(name);
    storedValue = value;
    storedWidth = width;
    holdsValue = true;
  }

  /// A set line of text, with or without double quotes around the value in the file.
  void set(std::string name, const T& value, int width,
           LineQuotes quotes) requires(std::is_same_v<T, std::string>) {
    storedName = std::move(name);
    storedValue = value;
    storedWidth = width;
    quoted = quotes == LineQuotes::around;
    holdsValue = true;
  }

  bool isSet() const { return holdsValue; }
  const std::string& getName() const { return storedName; }
  int getWidth() const { return storedWidth; }
  const T& value() const { return storedValue; }
  operator T() const { return storedValue; }

  /// Replaces the value only: a line that was never read stays unset and is not printed.
  void updateValue(T v) { storedValue = std::move(v); }
  Line& operator=(T v) {
    updateValue(std::move(v));
    return *this;
  }

  /// Reads the rest of the line whose label (colon included) was just read, and sets the line,
  /// even when the extraction fails; the failure stays in the state of `is`.
  ///
  /// Numbers are read with the stream's formatted extraction (a bool as 0 or 1): a malformed one
  /// becomes 0, and the value stays as it is when `is` has nothing left. A string is the rest of
  /// the line without trailing blanks; double quotes around all of it are taken off and written
  /// back by `printLineIfAllSet`.
  void readLine(std::istream& is, const std::string& label);

  /// Writes the label, padded on the right to the width, the value, and `n` line feeds. An unset
  /// line writes nothing at all. Numbers follow the formatting of `os` (a float as a double, a
  /// bool as 1 or 0), whose flags are left as they were.
  void printLineIfAllSet(std::ostream& os, int n) const;

 private:
  std::string storedName;
  T storedValue{};
  int storedWidth = 0;
  bool quoted = false;  // used by strings only
  bool holdsValue = false;
};

extern template class Line<int>;
extern template class Line<float>;
extern template class Line<bool>;
extern template class Line<std::string>;

/// Splits a label token that was just read: `name` is the token without its last character, the
/// colon; `width` is the token's length plus the number of spaces and tabs that follow it in
/// `is` (a tab counts as one), which are taken out. An empty label gives an empty name.
void getNameAndWidth(std::istream& is, const std::string& label, std::string& name, int& width);

/// Reads the rest of a line that holds yes or no: false when the value begins with N or n, true
/// for anything else, an empty value included.
void readYesNo(Line<bool>& line, std::istream& is, const std::string& label);

/// As `Line::printLineIfAllSet`, with the value written as YES or NO.
void printYesNoIfAllSet(const Line<bool>& line, std::ostream& os, int n);

}  // namespace mirel

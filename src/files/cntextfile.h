#pragma once

#include <fstream>
#include <string>

namespace mirel {

/// Reader of a text file of labelled values, asked for its keys in file order:
///
///   file  = { token }          tokens are separated by white space
///   entry = label ":" value    label and colon are one token
///
/// A load whose label is not the next token returns false, leaves its variable untouched and
/// keeps the token for the next load, so optional keys may be asked for one after another. A key
/// out of the expected order is never matched, and every later load fails on it.
class CNTextFileReader : public std::ifstream {
 public:
  /// A file that cannot be opened is not reported: every load returns false.
  explicit CNTextFileReader(const std::string& fileName);

  /// Each returns whether the label matched. The value is read with the stream's formatted
  /// extraction (a string is one token).
  bool load(int& v, const std::string& label);
  bool load(float& v, const std::string& label);
  bool load(std::string& v, const std::string& label);
  /// Reads an int: true when it is not 0.
  bool loadAsInt(bool& v, const std::string& label);
  /// Reads one token: true exactly when it is "YES".
  bool loadYesNo(bool& v, const std::string& label);
  /// Reads one token and takes the part between its first two double quotes: to the token's end
  /// without a second quote, all of it without any. A value with blanks is cut at the first one.
  bool loadQuoted(std::string& v, const std::string& label);
  /// Whether the next token is exactly `name` (no colon is added); taken when it is.
  bool readSectionHeader(const std::string& name);

 private:
  bool readLabel(const std::string& label) { return readToken(label + ":"); }
  bool readToken(const std::string& wanted);

  std::string pending;  // the token that was read but not matched yet
};

/// Writer of such files: one entry per line.
class CNTextFileWriter : public std::ofstream {
 public:
  /// Creates or truncates the file. A failure shows in the stream's state.
  explicit CNTextFileWriter(const std::string& fileName);

  /// Labels (with their colons) are padded to the length of `label` plus 2. Before the first
  /// call they are not padded but followed by one space.
  void setLabelWidth(const std::string& label);

  void save(int v, const std::string& label);
  void save(float v, const std::string& label);
  void save(const std::string& v, const std::string& label);
  /// 1 or 0.
  void saveAsInt(bool v, const std::string& label);
  /// YES or NO.
  void saveYesNo(bool v, const std::string& label);
  /// The value between double quotes.
  void saveQuoted(const std::string& v, const std::string& label);
  void writeSectionHeader(const std::string& name);
  void writeBlankLine();

 private:
  void writeLabel(const std::string& label);

  int labelWidth = 0;
};

}  // namespace mirel

#include "files/cntextfile.h"

#include <iomanip>

namespace mirel {

CNTextFileReader::CNTextFileReader(const std::string& fileName) : std::ifstream(fileName) {}

bool CNTextFileReader::readToken(const std::string& wanted) {
  if (!good()) return false;
  if (pending.empty()) *this >> pending;
  // Still empty: nothing was left, and that matches no name, not even an empty one.
  if (pending.empty() || pending != wanted) return false;
  pending.clear();
  return true;
}

bool CNTextFileReader::load(int& v, const std::string& label) {
  if (!readLabel(label)) return false;
  *this >> v;
  return true;
}

bool CNTextFileReader::load(float& v, const std::string& label) {
  if (!readLabel(label)) return false;
  *this >> v;
  return true;
}

bool CNTextFileReader::load(std::string& v, const std::string& label) {
  if (!readLabel(label)) return false;
  *this >> v;
  return true;
}

bool CNTextFileReader::loadAsInt(bool& v, const std::string& label) {
  int number = 0;
  if (!load(number, label)) return false;
  v = number != 0;
  return true;
}

bool CNTextFileReader::loadYesNo(bool& v, const std::string& label) {
  std::string token;
  if (!load(token, label)) return false;
  v = token == "YES";
  return true;
}

bool CNTextFileReader::loadQuoted(std::string& v, const std::string& label) {
  std::string token;
  if (!load(token, label)) return false;
  const std::size_t first = token.find('"');
  if (first == std::string::npos) {
    v = token;
    return true;
  }
  const std::size_t second = token.find('"', first + 1);
  v = token.substr(first + 1, second == std::string::npos ? second : second - first - 1);
  return true;
}

bool CNTextFileReader::readSectionHeader(const std::string& name) { return readToken(name); }

CNTextFileWriter::CNTextFileWriter(const std::string& fileName) : std::ofstream(fileName) {}

void CNTextFileWriter::setLabelWidth(const std::string& label) {
  labelWidth = static_cast<int>(label.size()) + 2;
}

void CNTextFileWriter::writeLabel(const std::string& label) {
  if (labelWidth == 0) {
    *this << label << ": ";
    return;
  }
  const std::ios_base::fmtflags kept = flags();
  *this << std::left << std::setw(labelWidth) << (label + ":");
  flags(kept);
}

void CNTextFileWriter::save(int v, const std::string& label) {
  writeLabel(label);
  *this << v << "\n";
}

void CNTextFileWriter::save(float v, const std::string& label) {
  writeLabel(label);
  *this << v << "\n";
}

void CNTextFileWriter::save(const std::string& v, const std::string& label) {
  writeLabel(label);
  *this << v << "\n";
}

void CNTextFileWriter::saveAsInt(bool v, const std::string& label) { save(v ? 1 : 0, label); }

void CNTextFileWriter::saveYesNo(bool v, const std::string& label) {
  save(std::string(v ? "YES" : "NO"), label);
}

void CNTextFileWriter::saveQuoted(const std::string& v, const std::string& label) {
  save("\"" + v + "\"", label);
}

void CNTextFileWriter::writeSectionHeader(const std::string& name) { *this << name << "\n"; }

void CNTextFileWriter::writeBlankLine() { *this << "\n"; }

}  // namespace mirel

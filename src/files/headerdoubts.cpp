#include "files/headerdoubts.h"

#include <algorithm>
#include <array>
#include <functional>
#include <sstream>
#include <string_view>

#include "base/error.h"
#include "base/inputfile.h"

namespace mirel {

namespace {

constexpr std::uintmax_t largestHeader = 1 << 20;
constexpr std::array<std::string_view, 5> wholeNumbers = {"NrOfVolumes", "NrOfSlices",
                                                          "ResolutionX", "ResolutionY", "DataType"};

struct Entry {
  std::string key, value;
};

// The entries of the header whose values are whole numbers.
std::vector<Entry> entriesOf(const std::string& projectFile) {
  std::vector<Entry> entries;
  std::istringstream lines(readWholeFile(projectFile, largestHeader));
  for (std::string line; std::getline(lines, line);) {
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    std::istringstream words(line.substr(colon + 1));
    Entry entry{line.substr(0, colon), ""};
    words >> entry.value;
    if (std::find(wholeNumbers.begin(), wholeNumbers.end(), entry.key) != wholeNumbers.end())
      entries.push_back(entry);
  }
  return entries;
}

bool isWhole(const std::string& value) {
  const std::size_t first = value.starts_with('-') || value.starts_with('+') ? 1 : 0;
  return value.size() > first && value.find_first_not_of("0123456789", first) == std::string::npos;
}

bool isUnknownType(const Entry& entry) {
  return entry.key == "DataType" && entry.value != "1" && entry.value != "2";
}

// The number that a header ends with, where a line feed follows it: its label is then matched again
// with nothing left to read.
std::string labelMatchedTwice(const std::string& projectFile) {
  const std::string text = readWholeFile(projectFile, largestHeader);
  const std::size_t end = text.find_last_not_of(" \t\r\n");
  if (end == std::string::npos || end + 1 == text.size()) return "";
  const std::size_t line = text.find_last_of('\n', end) + 1;
  const std::string key = text.substr(line, text.find(':', line) - line);
  return std::find(wholeNumbers.begin(), wholeNumbers.end(), key) != wholeNumbers.end() ? key : "";
}

std::string typeFault(const Entry& entry) {
  return "has the DataType " + entry.value +
         ", which is neither 1 (16-bit integers) nor 2 (32-bit floats)";
}

}  // namespace

std::vector<std::string> doubtsAboutHeader(const std::string& projectFile) try {
  std::vector<std::string> doubts;
  for (const Entry& entry : entriesOf(projectFile)) {
    if (!isWhole(entry.value)) {
      int read = 0;
      std::istringstream(entry.value) >> read;
      doubts.push_back(projectFile + " has the " + entry.key + " \"" + entry.value +
                       "\", which is no whole number and read as " + std::to_string(read));
    } else if (isUnknownType(entry)) {
      doubts.push_back(projectFile + " " + typeFault(entry) +
                       ": its data are read as 16-bit integers");
    }
  }
  if (const std::string key = labelMatchedTwice(projectFile); !key.empty())
    doubts.push_back(
        projectFile + " ends with its " + key +
        ": where it is saved there is no blank before that number, and it is not found");
  return doubts;
} catch (const Error&) {
  // Whoever reads it as a project says what is wrong.
  return {};
}

void refuseUnknownDataType(const std::string& projectFile) {
  for (const Entry& entry : entriesOf(projectFile))
    if (isUnknownType(entry)) throw Error(projectFile, typeFault(entry));
}

}  // namespace mirel

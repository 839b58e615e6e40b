#include "motion/numberrows.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "base/error.h"
#include "base/inputfile.h"
#include "base/numbertext.h"
#include "base/plaintext.h"
#include "base/words.h"

namespace mirel {

namespace {

// A hundred thousand volumes of twelve numbers in full length, and more.
constexpr std::uintmax_t largestMotionTable = 64U << 20U;
constexpr std::size_t longestQuote = 40;

std::string withoutComments(const std::string& text) {
  std::string bare;
  bool comment = false;
  for (const char c : text) {
    comment = c != '\n' && (comment || c == '#');
    if (!comment) bare += c;
  }
  return bare;
}

// Nothing where it is no finite number.
std::optional<double> numberIn(const std::string& word) {
  char* end = nullptr;
  const double number = std::strtod(word.c_str(), &end);
  if (end == word.c_str() || *end != '\0' || !std::isfinite(number)) return std::nullopt;
  return number;
}

}  // namespace

std::vector<std::vector<std::string>> readTransformWords(const std::string& fileName) {
  std::error_code ignored;
  if (std::filesystem::is_directory(fileName, ignored))
    throw Error(fileName, "is a folder, not a table of transforms");
  const std::string text = readWholeFile(fileName, largestMotionTable);
  requirePlainText(text, fileName);
  return wordsByLine(withoutComments(text));
}

std::vector<double> numbersIn(std::span<const std::string> words, const std::string& place,
                              const std::string& fileName) {
  std::vector<double> numbers;
  for (const std::string& word : words) {
    const std::optional<double> number = numberIn(word);
    if (!number)
      throw Error(fileName, "holds \"" + word.substr(0, longestQuote) + "\" in " + place +
                                ", where a finite number is expected");
    numbers.push_back(*number);
  }
  return numbers;
}

std::vector<std::vector<double>> numbersOf(const std::vector<std::vector<std::string>>& words,
                                           const std::string& fileName) {
  if (words.empty()) throw Error(fileName, "holds no transforms: it has no rows of numbers");
  std::vector<std::vector<double>> rows;
  for (const std::vector<std::string>& line : words) {
    const std::string row = "row " + std::to_string(rows.size() + 1);
    rows.push_back(numbersIn(line, row, fileName));
    if (rows.back().size() != rows.front().size())
      throw Error(fileName, "has " + counted(rows.back().size(), "number") + " in " + row +
                                ", but " + std::to_string(rows.front().size()) + " in the first");
  }
  return rows;
}

}  // namespace mirel

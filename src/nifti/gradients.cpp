#include "nifti/gradients.h"

#include <cmath>
#include <filesystem>
#include <sstream>

#include "base/error.h"
#include "base/inputfile.h"
#include "base/numbertext.h"
#include "base/plaintext.h"
#include "base/words.h"
#include "nifti/filename.h"

namespace mirel::nifti {

namespace {

using Rows = std::vector<std::vector<float>>;

float numberFrom(const std::string& word, const std::string& fileName) {
  std::size_t used = 0;
  float value = 0;
  try {
    value = std::stof(word, &used);
  } catch (const std::invalid_argument&) {
    used = 0;
  } catch (const std::out_of_range&) {
    // Too small for a float is as good as 0; too large is refused below.
    value = std::fabs(std::strtod(word.c_str(), nullptr)) < 1 ? 0.0F : INFINITY;
    used = word.size();
  }
  if (used != word.size() || !std::isfinite(value))
    throw Error(fileName, "holds \"" + word + "\" where a number is expected");
  return value;
}

using Words = std::vector<std::vector<std::string>>;

std::string plainTextIn(const std::string& fileName) {
  std::string text = readWholeFile(fileName, largestTable);
  requirePlainText(text, fileName);
  return text;
}

/// The words of a text file, line by line; lines without any are left out.
Words readWords(const std::string& fileName) {
  std::error_code ignored;
  if (std::filesystem::is_directory(fileName, ignored))
    throw Error(fileName, "is a directory, not a gradient file");
  return wordsByLine(plainTextIn(fileName));
}

Rows readRows(const std::string& fileName) {
  Rows rows;
  for (const std::vector<std::string>& words : readWords(fileName)) {
    rows.emplace_back();
    for (const std::string& word : words) rows.back().push_back(numberFrom(word, fileName));
  }
  return rows;
}

// A comma parts numbers, so that decimal ones make two of each.
Error otherCount(const std::string& fileName, std::size_t count, const char* what, int volumes) {
  return Error(fileName + " holds " + std::to_string(count) + " " + what + " for " +
               counted(volumes, "volume") + decimalCommaText(plainTextIn(fileName)));
}

/// Three lines of one number per volume, in place of a line of three per volume.
template <typename Table>
bool isInColumns(const Table& rows, int volumes) {
  return rows.size() == 3 && rows[0].size() == rows[1].size() && rows[0].size() == rows[2].size() &&
         (rows[0].size() != 3 || volumes == 3);
}

template <typename Row>
void requireThree(const Row& row, const std::string& fileName) {
  if (row.size() != 3)
    throw Error(fileName,
                "is not a table of directions: neither three lines of equal "
                "length nor lines of three numbers" +
                    decimalCommaText(plainTextIn(fileName)));
}

/// Numbers on one line, in the stream's default 6 digits.
template <typename Range, typename Get>
void printLine(std::ostream& os, const Range& range, const Get& get) {
  const char* separator = "";
  for (const auto& item : range) {
    os << separator << get(item);
    separator = " ";
  }
  os << "\n";
}

}  // namespace

std::string gradientFileOf(const std::string& imageFile, const std::string& ending) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  std::string own = niftiStem(imageFile) + ending;
  if (fs::is_regular_file(own, ignored)) return own;
  if (!fs::is_symlink(imageFile, ignored)) return {};
  const std::string farther = niftiStem(fs::weakly_canonical(imageFile, ignored).string()) + ending;
  return fs::is_regular_file(farther, ignored) ? farther : std::string();
}

std::vector<float> readBValues(const std::string& fileName, int volumes) {
  std::vector<float> values;
  for (const std::vector<float>& row : readRows(fileName))
    values.insert(values.end(), row.begin(), row.end());
  if (values.size() != static_cast<std::size_t>(volumes))
    throw otherCount(fileName, values.size(), "b-values", volumes);
  return values;
}

std::vector<int> unweightedVolumes(const std::vector<float>& bValues) {
  std::vector<int> found;
  for (std::size_t t = 0; t < bValues.size(); ++t)
    if (bValues[t] <= greatestUnweighted) found.push_back(static_cast<int>(t));
  return found;
}

void checkGradientCount(const std::string& fileName, int volumes) {
  const Words rows = readWords(fileName);
  std::size_t count = 0;
  const bool areDirections = fileName.ends_with(".bvec");
  if (areDirections && isInColumns(rows, volumes)) {
    count = rows[0].size();
  } else {
    for (const std::vector<std::string>& row : rows) {
      if (areDirections) requireThree(row, fileName);
      count += areDirections ? 1 : row.size();
    }
  }
  if (count != static_cast<std::size_t>(volumes))
    throw otherCount(fileName, count, areDirections ? "directions" : "b-values", volumes);
}

std::vector<glm::vec3> readDirections(const std::string& fileName, int volumes) {
  const Rows rows = readRows(fileName);
  std::vector<glm::vec3> directions;
  if (isInColumns(rows, volumes)) {
    for (std::size_t n = 0; n < rows[0].size(); n++)
      directions.emplace_back(rows[0][n], rows[1][n], rows[2][n]);
  } else {
    for (const std::vector<float>& row : rows) {
      requireThree(row, fileName);
      directions.emplace_back(row[0], row[1], row[2]);
    }
  }
  if (directions.size() != static_cast<std::size_t>(volumes))
    throw otherCount(fileName, directions.size(), "directions", volumes);
  return directions;
}

GradientTable gradientsOf(const GradientTable& table, const std::vector<int>& volumes) {
  GradientTable some;
  for (const int t : volumes) {
    const auto at = static_cast<std::size_t>(t);
    if (!table.bValues.empty()) some.bValues.push_back(table.bValues[at]);
    if (!table.directions.empty()) some.directions.push_back(table.directions[at]);
  }
  return some;
}

GradientTable readGradients(const std::string& bvecFile, const std::string& bvalFile, int volumes) {
  GradientTable table;
  table.directions = readDirections(bvecFile, volumes);
  table.bValues = readBValues(bvalFile, volumes);
  return table;
}

std::string formatDirections(const GradientTable& table) {
  std::ostringstream os;
  for (int axis = 0; axis < 3; axis++)
    printLine(os, table.directions, [axis](const glm::vec3& v) { return v[axis]; });
  return os.str();
}

std::string formatBValues(const GradientTable& table) {
  std::ostringstream os;
  printLine(os, table.bValues, [](float value) { return value; });
  return os.str();
}

}  // namespace mirel::nifti

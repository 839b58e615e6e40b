#include "bids/acquisitiontable.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <glm/geometric.hpp>
#include <glm/matrix.hpp>
#include <sstream>

#include "base/error.h"
#include "base/inputfile.h"
#include "base/numbertext.h"
#include "base/plaintext.h"
#include "bids/sidecar.h"

namespace mirel::bids {

namespace {

constexpr double vectorTolerance = 0.01;

std::istringstream openTable(const std::string& fileName) {
  std::error_code failure;
  if (std::filesystem::is_directory(fileName, failure))
    throw Error(fileName, "is a directory, not an acquisition table");
  const std::string text = readWholeFile(fileName, largestTable);
  requirePlainText(text, fileName);
  return std::istringstream(text);
}

/// The numbers of a line; one too many is enough to know.
std::vector<double> numbersIn(const std::string& line, const std::string& fileName,
                              const std::string& row) {
  std::vector<double> numbers;
  std::istringstream is(line);
  for (std::string word; is >> word;) {
    char* end = nullptr;
    numbers.push_back(std::strtod(word.c_str(), &end));
    if (*end != '\0' || !std::isfinite(numbers.back()))
      throw Error(fileName,
                  "is no acquisition table (rows of x y z and the readout time in s): " + row +
                      " has \"" + word.substr(0, 40) + "\"" + decimalCommaText(word));
  }
  return numbers;
}

void checkVector(glm::dvec3 vector, const std::string& fileName, const std::string& row) {
  const glm::dvec3 size = glm::abs(vector);
  const double along = std::max({size.x, size.y, size.z});
  const std::string written =
      "(" + text(vector.x) + " " + text(vector.y) + " " + text(vector.z) + ")";
  if (std::abs(glm::length(vector) - 1) > vectorTolerance)
    throw Error(fileName, "has a vector that is not 1 long in " + row + " " + written);
  if (glm::length(vector) - along > vectorTolerance)
    throw Error(fileName, "has phase encoding between two axes in " + row + " " + written +
                              ": it has to run along one axis of the image");
}

}  // namespace

std::vector<TableRow> readAcquisitionTable(const std::string& fileName) {
  std::istringstream is = openTable(fileName);
  std::vector<TableRow> rows;
  int lines = 0;
  for (std::string line; std::getline(is, line);) {
    // As an editor counts them, empty ones, too.
    const std::string row = "row " + std::to_string(++lines);
    const std::vector<double> numbers = numbersIn(line, fileName, row);
    if (numbers.empty()) continue;
    if (numbers.size() != 4)
      throw Error(fileName, "has " + counted(numbers.size(), "number") + " in " + row +
                                ", not the four of an acquisition table (x y z and the readout "
                                "time in s)");
    const TableRow read{
        {numbers[0], numbers[1], numbers[2]}, numbers[3], static_cast<int>(rows.size()) + 1};
    checkVector(read.vector, fileName, row);
    checkReadout(read.seconds, "the readout time in " + row + " of " + fileName);
    rows.push_back(read);
  }
  if (rows.empty()) throw Error(fileName, "has no rows: it is no acquisition table");
  return rows;
}

bool countsFirstAxisBackwards(const nifti::Header& header) {
  if (header.sformCode <= 0 && header.qformCode <= 0) return false;
  return glm::determinant(glm::dmat3(header.affine())) > 0;
}

PhaseEncodingDirection directionIn(const nifti::Header& header, const TableRow& row) {
  const glm::dvec3 size = glm::abs(row.vector);
  PhaseEncodingDirection direction{0, 1};
  for (int axis = 1; axis < 3; ++axis)
    if (size[axis] > size[direction.axis]) direction.axis = axis;
  direction.sign = row.vector[direction.axis] < 0 ? -1 : 1;
  if (direction.axis == 0 && countsFirstAxisBackwards(header)) direction.sign = -direction.sign;
  return direction;
}

}  // namespace mirel::bids

#include "convert/positionblock.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <glm/geometric.hpp>
#include <glm/matrix.hpp>

#include "base/error.h"
#include "nifti/orientation.h"

namespace mirel::convert {

namespace {

/// NIfTI's axes to the scanner's and back; + 0.0 turns the -0 of an unused axis into 0.
glm::dvec3 flipAxes(const glm::dvec3& v) { return {0.0 - v.x, 0.0 - v.y, v.z + 0.0}; }

bool isFinite(const glm::dvec3& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// All numbers of a block, for comparison.
std::array<double, 19> numbersOf(const PositionBlock& b) {
  return {double(b.coordinateSystem),
          b.slice1Center.x,
          b.slice1Center.y,
          b.slice1Center.z,
          b.sliceNCenter.x,
          b.sliceNCenter.y,
          b.sliceNCenter.z,
          b.rowDir.x,
          b.rowDir.y,
          b.rowDir.z,
          b.colDir.x,
          b.colDir.y,
          b.colDir.z,
          double(b.nRows),
          double(b.nCols),
          b.fovRows,
          b.fovCols,
          b.sliceThickness,
          b.gapThickness};
}

/// The number as a header line of type float prints it.
std::string printed(double value) {
  char text[32];
  std::snprintf(text, sizeof(text), "%g", static_cast<double>(static_cast<float>(value)) + 0.0);
  return text;
}

void checkBlock(const PositionBlock& b, double spacing, const std::string& fileName) {
  for (const double number : numbersOf(b))
    if (!std::isfinite(number))
      throw Error(fileName + " has a position block with a number that is not finite");
  if (!(glm::length(b.rowDir) > 0) || !(glm::length(b.colDir) > 0))
    throw Error(fileName + " has a position block without row and column directions");
  if (b.nCols < 1 || b.nRows < 1 || !(b.fovCols > 0) || !(b.fovRows > 0) || !(spacing > 0))
    throw Error(fileName + " has a position block without voxel sizes");
}

}  // namespace

PositionBlock toPositionBlock(const glm::dmat4& affine, glm::ivec3 dims,
                              const std::string& fileName) {
  for (int column = 0; column < 4; column++)
    if (!isFinite(glm::dvec3(affine[column])))
      throw Error(fileName + " has an orientation matrix with a number that is not finite");
  const glm::dvec3 size = nifti::columnLengths(affine);
  const double volume = size.x * size.y * size.z;
  if (!(std::fabs(glm::determinant(glm::dmat3(affine))) > 1e-9 * volume))
    throw Error(fileName + " has an orientation matrix that is singular");

  const glm::dvec3 middle((dims.x - 1) / 2.0, (dims.y - 1) / 2.0, 0);
  const auto position = [&](double z) {
    return flipAxes(glm::dvec3(affine * glm::dvec4(middle.x, middle.y, z, 1)));
  };
  PositionBlock b;
  b.slice1Center = position(0);
  b.sliceNCenter = position(dims.z - 1);
  b.rowDir = flipAxes(glm::dvec3(affine[0]) / size.x);
  b.colDir = flipAxes(glm::dvec3(affine[1]) / size.y);
  b.nRows = dims.y;
  b.nCols = dims.x;
  b.fovRows = dims.y * size.y;
  b.fovCols = dims.x * size.x;
  b.sliceThickness = size.z;
  return b;
}

glm::dmat4 toAffine(const PositionBlock& b, int nSlices, const std::string& fileName) {
  const double spacing = b.sliceThickness + b.gapThickness;
  glm::dvec3 step =
      nSlices > 1 ? (b.sliceNCenter - b.slice1Center) / double(nSlices - 1) : glm::dvec3(0);
  const double length = glm::length(step);
  checkBlock(b, length > 0 ? length : spacing, fileName);
  const glm::dvec3 row = glm::normalize(b.rowDir);
  const glm::dvec3 column = glm::normalize(b.colDir);
  if (!(length > 0)) {
    const glm::dvec3 normal = glm::cross(row, column);
    if (!(glm::length(normal) > 1e-9))
      throw Error(fileName + " has a position block whose rows and columns are parallel");
    step = glm::normalize(normal) * spacing;
  } else if (std::fabs(length - spacing) < 1e-4 * length) {
    step *= spacing / length;
  }
  const glm::dvec3 stepX = row * (b.fovCols / b.nCols);
  const glm::dvec3 stepY = column * (b.fovRows / b.nRows);
  const glm::dvec3 origin =
      b.slice1Center - stepX * ((b.nCols - 1) / 2.0) - stepY * ((b.nRows - 1) / 2.0);
  return glm::dmat4(glm::dvec4(flipAxes(stepX), 0), glm::dvec4(flipAxes(stepY), 0),
                    glm::dvec4(flipAxes(step), 0), glm::dvec4(flipAxes(origin), 1));
}

bool sameInHeader(const PositionBlock& a, const PositionBlock& b) {
  const auto left = numbersOf(a);
  const auto right = numbersOf(b);
  for (std::size_t n = 0; n < left.size(); n++)
    if (printed(left[n]) != printed(right[n])) return false;
  return true;
}

std::string leftRightConvention(const glm::dmat4& affine) {
  return affine[0].x > 0 ? "Neurological" : "Radiological";
}

}  // namespace mirel::convert

#include "motion/credible.h"

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>
#include <glm/matrix.hpp>

#include "base/error.h"
#include "base/numbertext.h"
#include "numerics/rigidmotion.h"

namespace mirel {

namespace {

constexpr double ballMm = 80;
// A millimetre at ten centimetres would be 0.01; programs write six digits.
constexpr double largestStrain = 1e-3;

// The largest element of R^T R - 1.
double strainOf(const glm::dmat3& r) {
  const glm::dmat3 off = glm::transpose(r) * r - glm::dmat3(1.0);
  double largest = 0;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) largest = std::max(largest, std::fabs(off[column][row]));
  return largest;
}

}  // namespace

glm::dvec3 middleOf(const Grid& grid) {
  return glm::dvec3(grid.affine * glm::dvec4(0.5 * (glm::dvec3(grid.dims) - 1.0), 1.0));
}

double displacementMm(const glm::dmat4& m, const Grid& grid) {
  const glm::dmat3 turn = glm::dmat3(m) - glm::dmat3(1.0);
  double squares = 0;
  for (int column = 0; column < 3; ++column) squares += glm::dot(turn[column], turn[column]);
  const glm::dvec3 shift = turn * middleOf(grid) + glm::dvec3(m[3]);
  return std::sqrt(ballMm * ballMm / 5 * squares + glm::dot(shift, shift));
}

std::string faultOfMotion(const glm::dmat4& m, const Grid& grid) {
  const glm::dvec3 middle = middleOf(grid);
  const glm::dmat3 r(m);
  if (!std::isfinite(strainOf(r)) || !std::isfinite(glm::length(glm::dvec3(m[3]))))
    return "is singular, or beyond all numbers: it is no motion";
  if (const double strain = strainOf(r); strain > largestStrain)
    return "scales or shears, by " + text("%.2g", 50 * strain) + " %: it is not rigid";
  if (glm::determinant(r) < 0) return "is a reflection, no motion";
  const double mm = glm::length(glm::dvec3(m * glm::dvec4(middle, 1.0)) - middle);
  const double degrees = turnedDegrees(r);
  if (mm <= farthestHeadMm && degrees <= farthestHeadDegrees) return {};
  return "would displace the head by " + text("%.0f", mm) + " mm and turn it by " +
         counted("%.0f", degrees, "degree");
}

std::string placeInFile(const SeriesMotion& motion, std::size_t volume) {
  switch (motion.form) {
    case MotionForm::fslMatrices:
    case MotionForm::found:
      break;
    case MotionForm::itkText:
      return "transform " + std::to_string(volume);
    case MotionForm::fslParameters:
    case MotionForm::spmParameters:
    case MotionForm::afniMatrices:
      return "row " + std::to_string(volume + 1);
  }
  return {};
}

void requireHeadMotion(const SeriesMotion& motion, const Grid& grid) {
  for (std::size_t t = 0; t < motion.fromReference.size(); ++t) {
    const std::string fault = faultOfMotion(motion.fromReference[t], grid);
    if (fault.empty()) continue;
    const std::string place = placeInFile(motion, t);
    if (place.empty()) throw Error(motion.stamps[t].fileName(), fault);
    throw Error(motion.file, "has in " + place + " what " + fault);
  }
}

}  // namespace mirel

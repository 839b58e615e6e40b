#include "nifti/orientation.h"

#include <cmath>
#include <glm/geometric.hpp>

namespace mirel::nifti {

glm::dvec3 columnLengths(const glm::dmat4& affine) {
  return {glm::length(glm::dvec3(affine[0])), glm::length(glm::dvec3(affine[1])),
          glm::length(glm::dvec3(affine[2]))};
}

NearestAxes nearestAxes(const glm::dmat4& affine) {
  const glm::dvec3 sizes = columnLengths(affine);
  NearestAxes result;
  std::array<bool, 3> taken{};
  for (int round = 0; round < 3; round++) {
    double best = 0;
    std::size_t bestColumn = 0, bestRow = 0;
    for (std::size_t column = 0; column < 3; column++)
      for (std::size_t row = 0; row < 3; row++) {
        const int c = static_cast<int>(column), r = static_cast<int>(row);
        const double cosine = std::fabs(affine[c][r]) / sizes[c];
        if (result.patient[column] >= 0 || taken[row] || !(cosine > best)) continue;
        best = cosine;
        bestColumn = column;
        bestRow = row;
      }
    if (best == 0) break;
    taken[bestRow] = true;
    result.patient[bestColumn] = static_cast<int>(bestRow);
    result.against[bestColumn] =
        !(affine[static_cast<int>(bestColumn)][static_cast<int>(bestRow)] > 0);
  }
  return result;
}

std::string orientationLetters(const glm::dmat4& affine) {
  const NearestAxes axes = nearestAxes(affine);
  std::string letters = "???";
  for (std::size_t i = 0; i < 3; i++)
    if (axes.patient[i] >= 0) letters[i] = (axes.against[i] ? "LPI" : "RAS")[axes.patient[i]];
  return letters;
}

}  // namespace mirel::nifti

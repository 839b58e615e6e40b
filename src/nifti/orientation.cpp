#include "nifti/orientation.h"

#include <cmath>
#include <glm/geometric.hpp>

namespace mirel::nifti {

glm::dvec3 columnLengths(const glm::dmat4& affine) {
  return {glm::length(glm::dvec3(affine[0])), glm::length(glm::dvec3(affine[1])),
          glm::length(glm::dvec3(affine[2]))};
}

std::string orientationLetters(const glm::dmat4& affine) {
  const glm::dvec3 sizes = columnLengths(affine);
  std::string letters = "???";
  bool named[3] = {false, false, false};
  for (int round = 0; round < 3; round++) {
    double best = 0;
    int bestColumn = -1, bestRow = -1;
    for (int column = 0; column < 3; column++)
      for (int row = 0; row < 3; row++) {
        const double cosine = std::fabs(affine[column][row]) / sizes[column];
        if (letters[static_cast<std::size_t>(column)] != '?' || named[row] || !(cosine > best))
          continue;
        best = cosine;
        bestColumn = column;
        bestRow = row;
      }
    if (bestColumn < 0) break;
    named[bestRow] = true;
    letters[static_cast<std::size_t>(bestColumn)] =
        (affine[bestColumn][bestRow] > 0 ? "RAS" : "LPI")[bestRow];
  }
  return letters;
}

}  // namespace mirel::nifti

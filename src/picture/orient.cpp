#include "picture/orient.h"

#include <cmath>
#include <glm/geometric.hpp>

namespace mirel::picture {

PatientAxes patientAxes(const glm::dmat4& affine) {
  PatientAxes result;
  std::array<glm::dvec3, 3> direction{};
  for (int a = 0; a < 3; ++a) {
    const glm::dvec3 column(affine[a]);
    const double length = glm::length(column);
    if (!(length > 0.0) || !std::isfinite(length)) return result;
    direction[static_cast<std::size_t>(a)] = column / length;
  }
  std::array<bool, 3> arrayDone{}, patientDone{};
  for (int round = 0; round < 3; ++round) {
    double best = -1.0;
    std::size_t bestArray = 0, bestPatient = 0;
    for (std::size_t a = 0; a < 3; ++a)
      for (std::size_t p = 0; p < 3; ++p) {
        const double cosine = std::abs(direction[a][static_cast<int>(p)]);
        if (arrayDone[a] || patientDone[p] || cosine <= best) continue;
        best = cosine;
        bestArray = a;
        bestPatient = p;
      }
    arrayDone[bestArray] = patientDone[bestPatient] = true;
    result.axis[bestPatient] = static_cast<int>(bestArray);
    result.against[bestPatient] = direction[bestArray][static_cast<int>(bestPatient)] < 0.0;
  }
  return result;
}

}  // namespace mirel::picture

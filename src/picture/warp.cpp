#include "picture/warp.h"

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>
#include <stdexcept>

#include "nifti/orientation.h"

namespace mirel::picture {

namespace {

std::string sideOf(char letter) {
  switch (letter) {
    case 'R':
      return "right";
    case 'L':
      return "left";
    case 'A':
      return "anterior";
    case 'P':
      return "posterior";
    case 'S':
      return "superior";
    case 'I':
      return "inferior";
    default:
      return "greater indices";
  }
}

double meanSquare(const Volume<float>& values) {
  double sum = 0;
  for (int i = 0; i < values.size(); ++i)
    if (const double v = static_cast<double>(values.data()[i]); std::isfinite(v)) sum += v * v;
  return sum / std::max(values.size(), 1);
}

}  // namespace

Volume<float> alongAxis(const VectorsLps& vectors, const glm::dmat4& affine, int axis) {
  for (const Volume<float>& component : vectors)
    if (component.dimensions() != vectors[0].dimensions())
      throw std::invalid_argument("the components of a displacement field differ in dimensions");
  const glm::dvec3 direction =
      glm::normalize(glm::dvec3(affine[axis]));  // right, anterior, superior
  Volume<float> along(vectors[0].dimensions());
  for (int i = 0; i < along.size(); ++i) {
    const glm::dvec3 vector(-vectors[0].data()[i], -vectors[1].data()[i], vectors[2].data()[i]);
    along.data()[i] = static_cast<float>(glm::dot(vector, direction));
  }
  return along;
}

int principalAxis(const VectorsLps& vectors, const glm::dmat4& affine) {
  int principal = 0;
  double most = -1;
  for (int axis = 0; axis < 3; ++axis)
    if (const double square = meanSquare(alongAxis(vectors, affine, axis)); square > most) {
      most = square;
      principal = axis;
    }
  return principal;
}

std::string directionText(const glm::dmat4& affine, int axis) {
  const std::string letters = nifti::orientationLetters(affine);
  const auto at = static_cast<std::size_t>(axis);
  return std::string("along ") + "ijk"[at] + ", to " +
         sideOf(at < letters.size() ? letters[at] : '?');
}

}  // namespace mirel::picture

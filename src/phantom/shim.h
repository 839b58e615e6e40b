#pragma once

#include <array>
#include <glm/vec3.hpp>

#include "containers/volume.h"

namespace mirel {

/// Takes a constant and a linear part (1, x, y, z: what a scanner's gradient coils make) out of a
/// field, fitted by least squares in a mask.
class Shim {
 public:
  static constexpr int terms = 4;

  /// `mask` lies in the field with its element (0, 0, 0) at `margin`.
  Shim(const Volume<unsigned char>& mask, glm::dvec3 voxelMm, glm::ivec3 margin);

  /// Subtracts the fit everywhere. Does nothing if the mask is empty.
  void removeFrom(Volume<double>& field) const;

 private:
  std::array<double, terms> basisAt(glm::ivec3 fieldVoxel) const;

  const Volume<unsigned char>& mask;
  glm::dvec3 scale{}, centre{};
  glm::ivec3 margin;
  bool empty = true;
  std::array<std::array<double, terms>, terms> cholesky{};  // lower triangle
};

}  // namespace mirel

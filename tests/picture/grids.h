#pragma once

#include <cmath>
#include <functional>
#include <glm/gtc/matrix_transform.hpp>

#include "picture/layer.h"

/// Volumes of known values on grids of known places.
namespace grids {

using mirel::Volume;
using mirel::picture::Layer;
using mirel::picture::Placement;

/// Voxel axes along the columns, voxel 0 at `origin`.
inline glm::dmat4 affineOf(glm::dvec3 i, glm::dvec3 j, glm::dvec3 k, glm::dvec3 origin) {
  return {glm::dvec4(i, 0), glm::dvec4(j, 0), glm::dvec4(k, 0), glm::dvec4(origin, 1)};
}

/// value(mm) at the voxels of a grid in the scanner.
inline Layer sampled(glm::ivec3 dims, const glm::dmat4& affine,
                     const std::function<double(glm::dvec3)>& value) {
  Layer layer{"image", Volume<float>(dims), affine, Placement::scanner};
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x)
        layer.volume.at(x, y, z) =
            static_cast<float>(value(glm::dvec3(affine * glm::dvec4(x, y, z, 1))));
  return layer;
}

/// Turned by `degrees` about an oblique axis through `centre`.
inline glm::dmat4 rotated(double degrees, glm::dvec3 centre) {
  glm::dmat4 m = glm::translate(glm::dmat4(1.0), centre);
  m = glm::rotate(m, degrees * std::acos(-1.0) / 180, glm::normalize(glm::dvec3(0.3, -0.5, 0.8)));
  return glm::translate(m, -centre);
}

}  // namespace grids

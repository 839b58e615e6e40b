#include "phantom/gradientecho.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

#include "numerics/difference.h"

namespace mirel {

void dephase(Volume<float>& density, const Volume<float>& fieldHz, double echoTimeSeconds) {
  constexpr int cells = HeadObject::cellsPerVoxel;
  const glm::ivec3 size = fieldHz.dimensions();
  if (density.dimensions() != glm::ivec3(cells * size.x, cells * size.y, size.z))
    throw std::invalid_argument("a density and a field are not of one grid");
  const Volume<float> change = slopeAlong(fieldHz, 2);
  for (int z = 0; z < density.nz(); ++z)
    for (int y = 0; y < density.ny(); ++y)
      for (int x = 0; x < density.nx(); ++x) {
        const double angle = std::numbers::pi * echoTimeSeconds *
                             static_cast<double>(change.at(x / cells, y / cells, z));
        if (angle != 0.0)
          density.at(x, y, z) *= static_cast<float>(std::fabs(std::sin(angle) / angle));
      }
}

}  // namespace mirel

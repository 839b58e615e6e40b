#include "field/beforemotion.h"

#include <glm/matrix.hpp>

namespace mirel {

Grid beforeMotion(const Grid& grid, const RigidMotion& motion, glm::dvec3 centreMm) {
  const glm::dmat3 r = motion.rotation();
  glm::dmat4 forward(r);
  forward[3] = glm::dvec4(centreMm + motion.translationMm - r * centreMm, 1.0);
  return {grid.dims, glm::inverse(forward) * grid.affine};
}

}  // namespace mirel

#pragma once

#include "field/grid.h"
#include "numerics/rigidmotion.h"

namespace mirel {

/// Where the voxels of a grid lie in the head's place before a motion about `centreMm`: what an
/// image taken after the motion shows there.
Grid beforeMotion(const Grid& grid, const RigidMotion& motion, glm::dvec3 centreMm);

}  // namespace mirel

#pragma once

#include <glm/vec3.hpp>

#include "containers/volume.h"

namespace mirel {

/// Continues a field from where it is known (not NaN) over the whole grid: harmonic, so that the
/// sum of the differences to the neighbours is 0, with nothing flowing through the grid's faces.
/// It thus has no extremes beyond the known ones, and becomes constant far away. What is known
/// stays as it is; 0 everywhere when nothing is.
Volume<float> continuedHarmonically(const Volume<float>& field, glm::dvec3 voxelMm);

}  // namespace mirel

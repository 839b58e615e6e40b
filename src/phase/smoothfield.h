#pragma once

#include <glm/vec3.hpp>

#include "containers/volume.h"
#include "phase/fieldnoise.h"

namespace mirel {

/// The field that a measured one is most likely to be: the f with the least
///
///   sum r^2 (f - d)^2 / noise^2  +  sum (f0 - 2 f1 + f2)^2 / curvature^2  +  a small pull together
///
/// over the voxels of `domain`, d being the measurement where it is known and r its reliability;
/// the second differences are those along all axes whose three voxels lie in the domain. It is
/// smoothed where the noise is large, hardly where the signal is strong or the field bends, and
/// continued smoothly where nothing was measured. The pull, 1/100 of the curvature's weight on
/// first differences, decides where nothing else does.
///
/// Second differences along long voxels count less, by the fourth power of their relative length.
/// NaN outside the domain. Conjugate gradients with the diagonal as preconditioner, to 1e-5 of the
/// right-hand side.
///
/// Source  maximum a posteriori; the prior along axes is a thin plate's without mixed terms
Volume<float> smoothField(const Volume<float>& measured, const Volume<float>& reliability,
                          const Volume<float>& domain, const FieldVariation& variation,
                          glm::dvec3 voxelMm);

}  // namespace mirel

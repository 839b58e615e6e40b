#pragma once

#include <glm/vec3.hpp>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// Memory of smoothCoefficients, used again from volume to volume.
struct SmoothScratch {
  std::vector<double> coefficients, spare;
};

/// Coefficients of a cubic B-spline (evalBSpline3D) that shows an image smoothed: its values,
/// smoothed with a Gaussian of `sigma` voxels along each axis, taken as coefficients as they are,
/// which smooths by another sqrt(1/3) voxel. They are scratch.coefficients then.
///
/// The Gaussian is cut at 3 sigma; at the borders its taps within the grid are made to sum to 1.
/// With a sigma of 0 along an axis nothing is smoothed along it.
void smoothCoefficients(const Volume<float>& image, const glm::dvec3& sigma,
                        SmoothScratch& scratch);

}  // namespace mirel

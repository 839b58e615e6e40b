#pragma once

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <string>

/// What an affine matrix (voxel to mm, x towards right, y towards anterior, z towards superior)
/// says about the axes of an image.
namespace mirel::nifti {

/// Lengths of the first three columns: the voxel sizes of an affine, in its units.
glm::dvec3 columnLengths(const glm::dmat4& affine);

/// The patient's directions towards which i, j and k grow: "RAS" for right, anterior, superior,
/// or L, P, I. Of an oblique grid the nearest ones, the closest fit settled first, so that each
/// of the patient's axes is named once. A column that is zero or not finite gives "?".
std::string orientationLetters(const glm::dmat4& affine);

}  // namespace mirel::nifti

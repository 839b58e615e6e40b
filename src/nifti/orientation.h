#pragma once

#include <array>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <string>

/// What an affine matrix (voxel to mm, x towards right, y towards anterior, z towards superior)
/// says about the axes of an image.
namespace mirel::nifti {

/// Lengths of the first three columns: the voxel sizes of an affine, in its units.
glm::dvec3 columnLengths(const glm::dmat4& affine);

/// Which of the patient's axes (0 right, 1 anterior, 2 superior) each axis of an array runs nearest
/// to, and whether it runs against it: to the left, posterior or inferior.
struct NearestAxes {
  std::array<int, 3> patient{-1, -1, -1};  ///< of i, j, k; -1: none
  std::array<bool, 3> against{false, false, false};
};

/// The axes of an affine. The largest direction cosine is settled first, so that each axis is
/// matched once. A column that is zero or not finite, or at right angles to all that is left, has
/// none.
NearestAxes nearestAxes(const glm::dmat4& affine);

/// The patient's directions towards which i, j and k grow: "RAS" for right, anterior, superior,
/// or L, P, I. Of an oblique grid the nearest ones (`nearestAxes`); "?" where there is none.
std::string orientationLetters(const glm::dmat4& affine);

}  // namespace mirel::nifti

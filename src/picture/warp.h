#pragma once

#include <array>
#include <glm/mat4x4.hpp>
#include <string>

#include "containers/volume.h"

/// Displacement fields of three components as maps of one.
namespace mirel::picture {

/// Components in mm towards left, posterior and superior, as in 5-D NIfTI files of transforms.
using VectorsLps = std::array<Volume<float>, 3>;

/// The displacement in mm along a voxel axis of the grid (0, 1, 2), positive towards greater
/// indices: the vector's product with the axis' direction.
/// Errors  std::invalid_argument when the dimensions of the components differ.
Volume<float> alongAxis(const VectorsLps& vectors, const glm::dmat4& affine, int axis);

/// The voxel axis along which the field displaces most (root mean square of the finite values):
/// for a warp of an echo-planar image that of phase encoding.
int principalAxis(const VectorsLps& vectors, const glm::dmat4& affine);

/// "along j, to anterior": the axis, and the patient's side towards which it runs.
std::string directionText(const glm::dmat4& affine, int axis);

}  // namespace mirel::picture

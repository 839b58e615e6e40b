#pragma once

#include <glm/mat4x4.hpp>
#include <string>
#include <vector>

#include "nifti/header.h"

/// Transforms between images in the coordinates of FSL: mm from the first voxel along the axes of
/// an image by the voxel sizes of its header, along the first axis from its last voxel where the
/// determinant of the affine is positive.
namespace mirel {

/// From the scanner's mm to those coordinates of an image.
/// Errors  Error, naming `name`, for an affine that is singular or not finite.
glm::dmat4 fslFromScanner(const nifti::Header& header, const std::string& name);

/// The files MAT_0000, MAT_0001 and so on of a folder, in order.
/// Errors  Error, naming the folder: it has none; one is missing between others.
std::vector<std::string> fslMatrixFiles(const std::string& folder);

/// Four rows of four numbers, from a volume to the reference (both in their FSL coordinates).
/// Errors  Error, naming the file: see numbersOf; another shape; a last row other than 0 0 0 1.
glm::dmat4 readFslMatrix(const std::string& fileName);

/// The matrix of a row of mcflirt's .par: angles in rad, then mm, about `centre`,
///
///   p -> Rx Ry Rz (p - centre) + centre + t
///
/// with Rx = [1 0 0; 0 c s; 0 -s c], Ry = [c 0 -s; 0 1 0; s 0 c], Rz = [c s 0; -s c 0; 0 0 1].
glm::dmat4 fslMatrixOf(const std::vector<double>& row, glm::dvec3 centre);

}  // namespace mirel

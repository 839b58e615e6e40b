#pragma once

#include <glm/mat4x4.hpp>
#include <string>
#include <vector>

/// Transforms in coordinates of the scanner, as other programs write them; all are returned as
/// SeriesMotion::fromReference has them.
namespace mirel {

/// The other way between coordinates with x towards left, y towards posterior and such with x
/// towards right, y towards anterior.
glm::dmat4 withXAndYReversed(const glm::dmat4& m);

/// Of a row of AFNI's .aff12.1D: twelve numbers, three rows of a matrix one after the other, from
/// the base to the source, x towards left, y towards posterior.
glm::dmat4 afniMatrixOf(const std::vector<double>& row);

/// Of a row of SPM's rp_*.txt: mm, then angles in rad, from a volume to the reference,
///
///   p -> Rx Ry Rz p + t        about the origin of the scanner's coordinates
///
/// with Rx = [1 0 0; 0 c s; 0 -s c], Ry = [c 0 s; 0 1 0; -s 0 c], Rz = [c s 0; -s c 0; 0 0 1].
glm::dmat4 spmMatrixOf(const std::vector<double>& row);

/// The affine transforms of a text file of ITK, in their order. Their parameters are the matrix by
/// rows, then the translation, about the centre that the fixed parameters are:
///
///   p -> R (p - centre) + centre + t     from the fixed image, x towards left, y posterior
///
/// Errors  Error, naming the file and the transform, counted from 0: one of another kind, or with
/// another number of parameters; words that are no finite numbers; no transform.
std::vector<glm::dmat4> readItkTransforms(const std::string& fileName);

/// Text of which readItkTransforms reads the same transforms to the last bit.
std::string formatItkTransforms(const std::vector<glm::dmat4>& transforms);

}  // namespace mirel

#pragma once

#include <glm/vec3.hpp>
#include <ostream>

#include "containers/matrix.h"
#include "containers/vector.h"
#include "containers/volume.h"

namespace mirel {

/// The column-wise estimate of a voxel displacement map from an AP and a PA image.
///
/// Every column along y is fitted by an affine coordinate model with a scale a and a shift b: the
/// AP column read at a*q + b times a, the PA column at q/a - b times 1/a (q: row coordinate
/// centred on ny/2), so that their mean squared difference becomes least (Gauss-Newton, at most
/// ten steps). Ten passes, between which a and b are smoothed across columns. The map of a column
/// is half the difference of the two coordinate maps.
///
/// Shapes   both images and the result: the same (nx, ny, nz).
/// Units    intensities as they are: a column is fitted when the maxima of both smoothed columns
///          exceed 100; others stay 0. `fitSigma`: sigma of the pre-smoothing, in voxels.
///          Result: voxels along y, to be applied forward to AP and in reverse to PA.
/// Edges    a fit that diverges leaves infinities or NaN in its column.
/// Log      one line before (mean squared difference of the images) and one after.
/// @throws std::logic_error when the dimensions differ.
Volume<float> simpleVDMestimate(const Volume<float>& vol_ap, const Volume<float>& vol_pa,
                                const glm::dvec3& fitSigma, std::ostream& log);

/// The column vol(row, y, slice), y = 0 .. ny-1; asserts the upper bounds of row and slice;
/// left of 0 every element is 0.
Vector<float> getColumnFromVolume(const Volume<float>& vol, int row, int slice);

/// vol(row, y, slice) = vec[y]; asserts the size and the upper bounds; left of 0
/// nothing is written.
void putColumnInVolume(const Vector<float>& vec, Volume<float>& vol, int row, int slice);

/// The inverse by the adjugate, in single precision; a singular matrix yields infinities or NaN.
/// Asserts a 2 x 2 matrix.
Matrix<float> invert2x2Matrix(const Matrix<float>& mat);

}  // namespace mirel

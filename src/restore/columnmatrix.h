#pragma once

#include <Eigen/SparseCore>
#include <span>
#include <vector>

namespace mirel {

using SparseRows = Eigen::SparseMatrix<double, Eigen::RowMajor>;

/// The distortion of one column along the phase-encoding axis, as a matrix K of n x n: the acquired
/// column is K x for the undistorted one x.
///
/// Edge j of the undistorted column (j = 0 .. n, voxel j lies between the edges j and j + 1) is at
/// `edges[j]` in the acquired one, and moves linearly in between; signal is conserved. So with
/// the density p of x within its voxels
///
///   (K x)_i = integral of p over all that falls between the edges i and i + 1 of the acquired one.
///
/// p is the parabola that has the voxel's value as its mean and at both edges values of fourth
/// order, (-x_(j-2) + 7 x_(j-1) + 7 x_j - x_(j+1)) / 12, rows continued constantly beyond the ends:
/// that of ColumnIntegral without its limits, so that K is linear.
///
/// Folds  add up, as they do in a scanner: edges need not ascend.
/// Edges  what falls off the acquired column is lost.
/// Source J. L. R. Andersson, S. Skare, J. Ashburner, NeuroImage 20:870, 2003 (its matrix K, with
///        a smoother density).
/// Errors std::invalid_argument for fewer than two edges, or one that is not finite.
SparseRows columnMatrix(std::span<const double> edges);

/// Where the edges of a column fall: j + s_j, s_j being the shift (in voxels, at the centres of the
/// voxels) by cubic convolution between them, continued constantly beyond the ends.
std::vector<double> edgePlaces(std::span<const double> shift);

}  // namespace mirel

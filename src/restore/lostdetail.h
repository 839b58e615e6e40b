#pragma once

#include "restore/columnmatrix.h"
#include "restore/symmetricband.h"

namespace mirel {

/// The second differences of a column of n voxels: row j is (-1, 2, -1) at voxel j - 1, j, j + 1,
/// the column continued constantly beyond its ends.
SparseRows secondDifferences(int n);

/// How much of each voxel's detail is lost, from 0 (nothing) to 1, in images of a column that
/// depend on it as `seen` (rows of images one above the other, each over its noise's standard
/// deviation), `gram` being seen' seen:
///
///   (1 - min(1, h_j))^(1/4),   h_j = |seen d_j|^2 / (|d_j|^2 w)
///
/// with row d_j of the second differences and `weight` w, the sum of the images' inverse variances:
/// h is what the images hold of that pattern over what undistorted ones would. It is 0 where no
/// image covers the voxel and close to it where both sample it half way between voxels. Of the
/// exponents 0 to 2 that were tried on simulated heads 1/4 is the largest with which joining is
/// nowhere worse than the mean of both corrected images.
Eigen::VectorXd lostDetail(const SymmetricBand& gram, const SparseRows& differences, double weight);

}  // namespace mirel

#pragma once

#include <vector>

#include "containers/volume.h"

namespace mirel {

/// Displacement at the edges j = 0 .. n of a column that takes two profiles of n voxels, distorted
/// in opposite directions, to one: with u1(m) and u2(m) the places below which the fraction m of
/// the first and of the second profile's signal lies,
///
///   b((u1 + u2) / 2) = (u1 - u2) / 2      (one-dimensional optimal transport, the half way)
///
/// at 2 n equally spaced fractions m, interpolated linearly in between and constant beyond the
/// outermost. Signal is spread evenly over a voxel; negative and non-finite values count as 0.
/// A profile without signal gives zeros.
std::vector<double> transportColumn(const std::vector<double>& first,
                                    const std::vector<double>& second);

/// `transportColumn` for all columns along y, smoothed over the volume: b minimises
///
///   sum_j w_j (b_j - t_j)^2 + sum of the squared difference quotients of neighbours,
///
/// t the columns' transport and w_j = (s_j / S)^2 q. s_j is the sum of the profiles at the edge,
/// S^2 its mean square weighted with itself, and q the ratio of the column's lesser to its greater
/// total. So air, and columns that lost signal, follow their neighbours.
///
/// Steps of 1 or more between edges of a column are scaled down to 0.9 (the whole map, about 0).
/// `spacing` is the voxel's shape in units of its length along y. Result: (nx, ny + 1, nz).
template <typename Real>
Volume<Real> transportStart(const Volume<float>& first, const Volume<float>& second,
                            glm::dvec3 spacing);

extern template Volume<float> transportStart(const Volume<float>&, const Volume<float>&,
                                             glm::dvec3);
extern template Volume<double> transportStart(const Volume<float>&, const Volume<float>&,
                                              glm::dvec3);

}  // namespace mirel

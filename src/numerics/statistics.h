#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "containers/volume.h"

/// Statistics of intensities: order statistics, correlation, the threshold of a histogram.
namespace mirel {

/// The value that would stand at `rank` (0 is the least) if `values` were sorted. Reorders them.
/// `rank` is below their number.
float valueOfRank(std::vector<float>& values, std::size_t rank);

/// The `fraction` quantile, 0 .. 1, as the value of the nearest rank, fraction * (n - 1) rounded
/// half up: always one of the values. Reorders them; there is at least one, and none is NaN.
float quantile(std::vector<float>& values, double fraction);

/// Whether no voxel is infinite or not a number.
bool isFinite(const Volume<float>& volume);

/// Bins between which a histogram falls into two classes: the lower class ends with bin `first`,
/// or just as well with any later one up to `last` (a gap of empty bins); both are 0 where all
/// counts are in one bin.
struct ClassBorder {
  int first = 0, last = 0;
};

/// Otsu's threshold of a histogram: the border b with the largest
///
///   n0(b) n1(b) (m1(b) - m0(b))^2,
///
/// n and m being the count and the mean bin of the classes 0 .. b and b + 1 .. (N. Otsu, IEEE
/// Trans. Syst. Man Cybern. 9:62, 1979). What a bin means is the caller's matter. In double.
ClassBorder otsuBorder(std::span<const double> histogram);

/// Pearson's correlation coefficient of two volumes of equal dimensions, over the voxels where
/// `mask` (of these dimensions as well) is not 0, over the listed ones, or over all:
///
///   sum (a - mean a)(b - mean b) / sqrt(sum (a - mean a)^2  sum (b - mean b)^2)
///
/// Means first and then the deviations from them, all in double: images far from 0 lose no
/// digits, as they do in differences of sums of squares.
///
/// NaN  when a volume is constant or not finite there, or no voxel is taken.
double correlation(const Volume<float>& a, const Volume<float>& b);
double correlation(const Volume<float>& a, const Volume<float>& b, const Volume<float>& mask);
double correlation(const Volume<float>& a, const Volume<float>& b, std::span<const int> voxels);

}  // namespace mirel

#pragma once

#include <string>

#include "containers/volume.h"
#include "field/grid.h"

/// Images inside the page, for its viewer.
namespace mirel::report {

/// How finely the values of an image are told.
struct Steps {
  double size = 1;
  bool exact = false;  ///< all values are integers, and multiples of the step
};

/// Steps of the largest power of two that is not above `range` divided by `steps`; of 1 where that
/// is below 1 and all values are integers. `range` is positive and finite.
Steps stepsOf(const Volume<float>& image, double range, int steps);

/// An image in Base64, as viewer.js reads it: a gzip stream of
///
///   352 bytes        a NIfTI-1 header, its end mark included: of 16-bit integers with the slope
///                    `step` or, where these do not reach or a value is not finite, of 32-bit
///                    floats
///   n bytes each     the lowest bytes of all samples, then the next ones, ...
///
/// of samples v that are replaced by their difference d = v - p, as integers of their size that
/// overflow, to what those before them let expect: the mean of three planes through them,
///
///   p = floor((2 (vx + vy + vz) - vxy - vxz - vyz + 1) / 3),
///
/// vx being the sample before along x, vxy the one before along x and along y, 0 off the grid.
/// d is stored as 2 d where it is not negative and as -2 d - 1 where it is. What changes little, or
/// evenly, from voxel to voxel becomes small so. The same image makes the same text.
///
/// Integers lie within half a step of the values, floats are the values.
std::string packedImage(const Volume<float>& image, const Grid& grid, double step);

}  // namespace mirel::report

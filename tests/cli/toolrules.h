#pragma once

#include <array>
#include <string>
#include <vector>

#include "cli/plainimage.h"

namespace mirel::tools {

/// Where other programs take a value from, by the rules that they document, read literally: for a
/// voxel of the corrected image the place in the distorted one, in voxels of its file. They share
/// no code with the program.

using Position = std::array<double, 3>;

/// A grid: its voxels and the matrix from voxels to mm (x right, y anterior, z superior).
class Grid {
 public:
  explicit Grid(const PlainImage& image);

  int n(int axis) const { return counts[static_cast<std::size_t>(axis)]; }
  int voxels() const { return n(0) * n(1) * n(2); }
  std::size_t index(int i, int j, int k) const {
    return static_cast<std::size_t>((k * n(1) + j) * n(0) + i);
  }
  Position worldOf(const Position& voxel) const;
  Position voxelOf(const Position& world) const;
  /// The determinant of the matrix is positive: FSL counts the first axis backwards.
  bool isNeurological() const { return determinant() > 0; }

 private:
  double determinant() const;

  std::array<int, 3> counts;
  std::array<std::array<double, 4>, 3> matrix;
};

/// ITK, ANTs, TORTOISE: x + u(x), x and u in mm with x to the left and y to the back (LPS).
/// `warp`: the three components, one after the other.
Position itk(const std::vector<float>& warp, const Grid& grid, int i, int j, int k);

/// AFNI: the same in its coordinates, with the grid's axes taken to be parallel to the patient's.
Position afni(const std::vector<float>& warp, const Grid& grid, int i, int j, int k);

/// FSL's fugue --loadshift with --unwarpdir `direction` ("x", "y-", ...): the value at the shift in
/// voxels further along the axis, which "-" reverses; on a grid whose first axis is reversed first
/// where it is neurological.
Position fugue(const std::vector<float>& shift, const std::string& direction, const Grid& grid,
               int i, int j, int k);

/// The shift that fugue makes of a field in rad/s: field * N * dwell / (2 pi).
std::vector<float> fugueShift(const std::vector<float>& radPerSecond, int lines,
                              double dwellSeconds);

/// FSL's topup: field in Hz times readout time times the vector of the row, in voxels of its grid,
/// which is reversed as above.
Position topup(const std::vector<float>& hz, const std::array<double, 4>& row, const Grid& grid,
               int i, int j, int k);

/// SPM: y + vdm(y) along array dimension `pedir` (1, 2 or 3).
Position spm(const std::vector<float>& vdm, int pedir, const Grid& grid, int i, int j, int k);

/// The values at these places (one per voxel, x fastest), linearly interpolated; 0 off the grid.
std::vector<float> sampled(const std::vector<float>& image, const Grid& grid,
                           const std::vector<Position>& places);

}  // namespace mirel::tools

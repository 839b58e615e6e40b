#include "cli/toolrules.h"

#include <cmath>
#include <numbers>

namespace mirel::tools {

namespace {

Position atVoxel(int i, int j, int k) {
  return {static_cast<double>(i), static_cast<double>(j), static_cast<double>(k)};
}

/// A vector of the three components that follow one another.
Position vectorAt(const std::vector<float>& warp, const Grid& grid, int i, int j, int k) {
  const std::size_t at = grid.index(i, j, k), step = static_cast<std::size_t>(grid.voxels());
  return {static_cast<double>(warp.at(at)), static_cast<double>(warp.at(at + step)),
          static_cast<double>(warp.at(at + 2 * step))};
}

/// Between the voxels of the file and those of FSL's memory; the same both ways.
Position throughFsl(const Position& voxel, const Grid& grid) {
  if (!grid.isNeurological()) return voxel;
  return {grid.n(0) - 1 - voxel[0], voxel[1], voxel[2]};
}

}  // namespace

Grid::Grid(const PlainImage& image) {
  for (int axis = 0; axis < 3; ++axis) counts[static_cast<std::size_t>(axis)] = image.dim(axis + 1);
  for (int row = 0; row < 3; ++row)
    for (int axis = 0; axis < 4; ++axis)
      matrix[static_cast<std::size_t>(row)][static_cast<std::size_t>(axis)] =
          static_cast<double>(image.sform(row, axis));
}

double Grid::determinant() const {
  const auto& m = matrix;
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
         m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

Position Grid::worldOf(const Position& v) const {
  Position world;
  for (std::size_t row = 0; row < 3; ++row) {
    const auto& m = matrix[row];
    world[row] = m[0] * v[0] + m[1] * v[1] + m[2] * v[2] + m[3];
  }
  return world;
}

// By Cramer's rule.
Position Grid::voxelOf(const Position& world) const {
  Position voxel;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    Grid replaced = *this;
    for (std::size_t row = 0; row < 3; ++row)
      replaced.matrix[row][axis] = world[row] - matrix[row][3];
    voxel[axis] = replaced.determinant() / determinant();
  }
  return voxel;
}

Position itk(const std::vector<float>& warp, const Grid& grid, int i, int j, int k) {
  const Position right = grid.worldOf(atVoxel(i, j, k)), u = vectorAt(warp, grid, i, j, k);
  const Position left = {-right[0] + u[0], -right[1] + u[1], right[2] + u[2]};
  return grid.voxelOf({-left[0], -left[1], left[2]});
}

Position afni(const std::vector<float>& warp, const Grid& grid, int i, int j, int k) {
  const Position u = vectorAt(warp, grid, i, j, k);
  const Position origin = grid.worldOf(atVoxel(0, 0, 0));
  Position voxel = atVoxel(i, j, k);
  for (int axis = 0; axis < 3; ++axis) {
    Position one = atVoxel(0, 0, 0);
    one[static_cast<std::size_t>(axis)] = 1;
    const Position step = grid.worldOf(one);
    // The patient's axis that this one runs along, and the mm of a voxel there.
    std::size_t along = 0;
    for (std::size_t row = 1; row < 3; ++row)
      if (std::abs(step[row] - origin[row]) > std::abs(step[along] - origin[along])) along = row;
    const double mm = (step[along] - origin[along]) * (along < 2 ? -1 : 1);
    voxel[static_cast<std::size_t>(axis)] += u[along] / mm;
  }
  return voxel;
}

Position fugue(const std::vector<float>& shift, const std::string& direction, const Grid& grid,
               int i, int j, int k) {
  Position voxel = throughFsl(atVoxel(i, j, k), grid);
  const double by = static_cast<double>(shift.at(grid.index(i, j, k)));
  voxel[static_cast<std::size_t>(direction[0] - 'x')] += direction.ends_with("-") ? -by : by;
  return throughFsl(voxel, grid);
}

std::vector<float> fugueShift(const std::vector<float>& radPerSecond, int lines,
                              double dwellSeconds) {
  std::vector<float> shift;
  for (const float w : radPerSecond)
    shift.push_back(
        static_cast<float>(static_cast<double>(w) * lines * dwellSeconds / (2 * std::numbers::pi)));
  return shift;
}

Position topup(const std::vector<float>& hz, const std::array<double, 4>& row, const Grid& grid,
               int i, int j, int k) {
  Position voxel = throughFsl(atVoxel(i, j, k), grid);
  const double f = static_cast<double>(hz.at(grid.index(i, j, k)));
  for (std::size_t axis = 0; axis < 3; ++axis) voxel[axis] += f * row[3] * row[axis];
  return throughFsl(voxel, grid);
}

Position spm(const std::vector<float>& vdm, int pedir, const Grid& grid, int i, int j, int k) {
  Position voxel = atVoxel(i, j, k);
  voxel[static_cast<std::size_t>(pedir - 1)] += static_cast<double>(vdm.at(grid.index(i, j, k)));
  return voxel;
}

std::vector<float> sampled(const std::vector<float>& image, const Grid& grid,
                           const std::vector<Position>& places) {
  std::vector<float> values;
  for (const Position& place : places) {
    double sum = 0;
    for (int corner = 0; corner < 8; ++corner) {
      double weight = 1;
      std::array<int, 3> at{};
      bool inside = true;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const double low = std::floor(place[axis]);
        const bool upper = (corner >> axis & 1) != 0;
        at[axis] = static_cast<int>(low) + (upper ? 1 : 0);
        weight *= upper ? place[axis] - low : 1 - (place[axis] - low);
        inside = inside && at[axis] >= 0 && at[axis] < grid.n(static_cast<int>(axis));
      }
      if (inside && weight > 0)
        sum += weight * static_cast<double>(image.at(grid.index(at[0], at[1], at[2])));
    }
    values.push_back(static_cast<float>(sum));
  }
  return values;
}

}  // namespace mirel::tools

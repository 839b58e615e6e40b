#pragma once

#include <optional>
#include <vector>

#include "containers/volume.h"

/// What a displacement map does, in figures.
namespace mirel::report {

/// Of the absolute displacements in voxels, and of their change along the axis. All are 0 where the
/// head is empty.
struct Displacement {
  double median = 0, high = 0, largest = 0;  ///< high: the 99th percentile
  /// Shares of the head's voxels: where the density changes by more than half (the displacement
  /// changes by more than half a voxel per voxel), and where the map folds for an image of either
  /// direction (by a voxel per voxel or more): what was there lies on top of something else.
  double stretched = 0, folded = 0;
};

/// The absolute slopeAlong of a shift, in voxels per voxel.
Volume<float> stretchAlong(const Volume<float>& shift, int axis);

/// @param head     of the same dimensions: not 0 inside
/// @param stretch  stretchAlong of the shift
Displacement displacementIn(const Volume<float>& head, const Volume<float>& shift,
                            const Volume<float>& stretch);

/// The values inside the head, `factor` times; those that are not finite are left out.
std::vector<float> valuesIn(const Volume<float>& head, const Volume<float>& values, float factor);

/// The `fraction` quantile of the absolute displacements in every slice across `axis`; NaN where a
/// slice has fewer than 20 voxels of the head.
std::vector<double> quantileOfSlices(const Volume<float>& head, const Volume<float>& shift,
                                     int axis, double fraction);

}  // namespace mirel::report

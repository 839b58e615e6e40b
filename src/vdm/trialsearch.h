#pragma once

#include <vector>

#include "containers/volume.h"
#include "simd/variant.h"

namespace mirel {

/// What a sweep of the local search reads.
struct SearchImages {
  const Volume<float>& ap;             ///< sampled forward
  const Volume<float>& pa;             ///< sampled in reverse
  const Volume<float>& apUndistorted;  ///< `ap` resampled through the map at the sweep's start
  const Volume<float>& paUndistorted;
  const Volume<float>& vdm;  ///< the map at the sweep's start, voxels
};

/// The window of the search and the constant value of its pattern.
struct ConstantPattern {
  glm::ivec3 dims;  ///< odd
  float value;
};

/// One sweep of the local search (`estimate_vdm`) for a pattern of constant value: same visits,
/// same costs, same choices, bit for bit, as trying every amplitude at every centre.
///
/// With a constant pattern the trial position of a voxel does not depend on the centre that tries
/// it, so every amplitude's resampled pair is computed once, row by row, and a trial's cost is
/// a sum over a window of it. Two things depend on the order of visits, and both follow from which
/// centres are visited, which in turn does not depend on any cost:
/// - where a trial position is not strictly inside the image the voxel keeps what it held: the
///   value of the last amplitude that was inside, be it of this visit or of the one before, or,
///   if no visit has covered the voxel yet, the value of the sweep's start;
/// - the foreground test sees the start value of voxels that no visit has covered, and the last
///   amplitude's value of others.
/// Centres whose window covers, for the first time, a voxel whose first amplitude lies outside
/// and a later one inside are evaluated one by one with the voxel's first-visit values in place.
///
/// @param updated  the amplitude of each visited voxel is added to it
/// @param weights  set to 1 where a voxel is visited
void searchConstantPattern(const SearchImages& images, const ConstantPattern& pattern,
                           const std::vector<float>& amplitudes, bool useSsd,
                           float foregroundThreshold, Volume<float>& updated,
                           Volume<float>& weights, SimdVariant variant);

}  // namespace mirel

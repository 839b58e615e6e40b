#pragma once

#include "containers/volume.h"
#include "phase/turnsets.h"

namespace mirel {

/// Joins sets of voxels that do not touch, as unwrapping leaves them: each place of the grid falls
/// to the voxel with a phase that is nearest (in steps along the axes), and where the places of two
/// sets touch, these voxels face each other. The pairs of sets are taken by the gap between them,
/// the narrowest first and of these the ones with most voxels facing, and joined by the turns that
/// bring the median difference across the gap nearest to 0.
///
/// @param phase  as it was wrapped; NaN where there is none. `sets` has its voxels as places.
/// @returns how many sets there were
int joinRegions(const Volume<float>& phase, TurnSets& sets);

}  // namespace mirel

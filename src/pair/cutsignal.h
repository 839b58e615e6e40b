#pragma once

#include "pair/pairinput.h"
#include "pair/verdict.h"

namespace mirel {

/// An image of a pair as it came, as its map corrects it with modulation, and the map.
struct CorrectedImage {
  const Volume<float>&distorted, &corrected;
  const Volume<float>& shift;  ///< voxels along the axis, forward for this image
};

/// What one image of a pair shows clearly where the other is exactly 0, as a part of the mean's
/// squares: magnitudes as they were acquired are hardly ever 0 there, but each of two images that
/// were cut by a mask of its own is. Clear is what exceeds 0.7 of the mean's level (signalLevel), 0
/// the voxel of the distorted image that a corrected one lies nearest to. Columns along the axis
/// that are 0 throughout do not count: they were added to the grid, or lost.
///
/// Shapes   all the same. Units  any; `ratio` is the first image's intensity over the second's.
double signalCutOff(const CorrectedImage& first, const CorrectedImage& second, double ratio,
                    int axis);

/// Doubts a pair of which too much is cut off.
void doubtOwnMasks(const PairInput& pair, double cutOff, Verdict& verdict);

}  // namespace mirel

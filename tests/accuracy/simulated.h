#pragma once

#include "accuracy/measure.h"

namespace mirel {

/// A pair with a known displacement, made from images that were measured.
struct SimulatedPair {
  Volume<float> first, second;  ///< with noise of 3 % of the mean signal in the brain
  Volume<float> shiftVoxels;    ///< along y, on the undistorted grid
  double smoothingVoxels;       ///< standard deviation of the Gaussian that took the folds out
};

/// The magnitude distorted along y in both directions by the field, which is scaled to a largest
/// displacement of `maxShiftVoxels` in the head (where the magnitude exceeds `headAbove`). The
/// field is smoothed within the head, and so continued beyond it, with the narrowest of a ladder of
/// Gaussians (0.7 voxels and up by factors of 1.2) with which it changes by at most 0.8 voxels from
/// voxel to voxel along y, so that nothing folds.
SimulatedPair simulatePair(const Volume<float>& magnitude, const Volume<float>& fieldHz,
                           double headAbove, double maxShiftVoxels, const Mask& brain,
                           std::uint64_t seed);

}  // namespace mirel

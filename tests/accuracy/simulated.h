#pragma once

#include "accuracy/measure.h"

namespace mirel {

/// A pair with a known displacement, made from images that were measured.
struct SimulatedPair {
  Volume<float> first, second;  ///< with noise of 3 % of the mean signal in the brain
  Volume<float> shiftVoxels;    ///< along y, on the undistorted grid
  double smoothingVoxels;       ///< standard deviation of the Gaussian that took the folds out
};

/// A displacement without folds and how it was smoothed.
struct FoldFreeShift {
  Volume<float> shiftVoxels;
  double smoothingVoxels;
};

/// The field, scaled to a largest displacement of `maxShiftVoxels` in the brain, smoothed within
/// the head (where the magnitude exceeds `headAbove`), and so continued beyond it, with the
/// narrowest of a ladder of Gaussians (0.7 voxels and up by factors of 1.2) with which it changes
/// by at most 0.8 voxels from voxel to voxel along y, so that nothing folds.
FoldFreeShift foldFreeShift(const Volume<float>& magnitude, const Volume<float>& fieldHz,
                            double headAbove, double maxShiftVoxels, const Mask& brain);

/// An image in cells of a third of a voxel along x and y.
Volume<float> inCells(const Volume<float>& image);

/// The magnitude distorted along y in both directions by the fold-free shift of the field.
SimulatedPair simulatePair(const Volume<float>& magnitude, const Volume<float>& fieldHz,
                           double headAbove, double maxShiftVoxels, const Mask& brain,
                           std::uint64_t seed);

}  // namespace mirel

#pragma once

#include <vector>

#include "average/volumemean.h"

namespace mirel {

/// The intensity of a volume over that of a reference of equal dimensions: the median over
/// the slices of the median of the ratios in the head (the reference above its mean), so that
/// slices without signal do not count; 1 where that is next to nothing.
double gainOver(const Volume<float>& reference, const AlignedVolume& volume);

/// Compares volumes of equal dimensions with their voxel-wise median m, each divided by its gain
/// (gainOver m).
///
/// The variance of volume v about m in the head in slice k (in all of a slice
/// with little of it), over what is expected of noise alone
///
///   E_v = L_v (1 - 1/n)^2 + (sum of the other L) / n^2,    L: noiseLeft, n: volumes
///
/// is divided by the median of that over all volumes, e. A slice counts fully up to e = 1.5,
/// less and less up to e = 3, and not at all above, both times what noise of so many voxels may do
/// by chance (1 + 4 sqrt(2 / voxels)): what is not noise falls out. Of two volumes neither can be
/// told from the other: all count.
std::vector<VolumeAgreement> agreementsOf(const std::vector<AlignedVolume>& volumes);

}  // namespace mirel

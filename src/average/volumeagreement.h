#pragma once

#include <vector>

#include "average/volumemean.h"

namespace mirel {

/// The intensity of a volume over that of a reference of equal dimensions: the median of the ratios
/// in the head (the reference above its mean); 1 where that is next to nothing.
double gainOver(const Volume<float>& reference, const AlignedVolume& volume);

/// Compares volumes of equal dimensions with their voxel-wise median m, each divided by its gain
/// (gainOver m).
///
/// The variance of volume v about m in the head in slice k (in all of a slice
/// with little of it), over what is expected of noise alone
///
///   E_v = L_v (1 - 1/n)^2 + (sum of the other L) / n^2,    L: noiseLeft, n: volumes
///
/// is divided by the median of that over all volumes, e. A slice counts fully up to e = 1.5, 1.5/e
/// up to e = 3, and not at all above: noise of other strength is weighed, what is not noise falls
/// out. (Of equal noise e varies by a few percent.) Of two volumes neither can be told from the
/// other: all count.
std::vector<VolumeAgreement> agreementsOf(const std::vector<AlignedVolume>& volumes);

}  // namespace mirel

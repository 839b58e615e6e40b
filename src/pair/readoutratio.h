#pragma once

#include "pair/pairinput.h"

namespace mirel {

/// Readout times that differ by no more, as part of the longer one, are taken to be the same.
inline constexpr double readoutTolerance = 0.01;

/// The displacement of the second image over that of the first, r = T2 / T1, without its sign; 1
/// where the readout times are the same or not known.
double partOfSecond(const PairInput& pair);

/// The map of the second image, -r d.
Volume<float> mapOfSecond(const PairInput& pair, const Volume<float>& d);

/// The map d of the first image of a pair from the one that an estimate finds which takes both
/// images to be displaced by as much. The field moves signal from y to y + d and y - r d; half-way
/// between these is m = y + (1 - r) / 2 d(y), where such an estimate finds b(m) = (1 + r) / 2 d(y):
///
///   d(m - (1 - r) / (1 + r) b(m)) = 2 / (1 + r) b(m)
///
/// along `axis`, in voxels, with cubic interpolation between the voxels. `values`, such as the
/// deviation of b, take the place and the scale that d does; for d itself they are b.
/// For r = 1 the values as they are.
Volume<float> fromHalfWay(const Volume<float>& values, const Volume<float>& b, double r, int axis);

/// The reverse: b of d.
Volume<float> toHalfWay(const Volume<float>& d, double r, int axis);

}  // namespace mirel

#pragma once

#include "containers/volume.h"

namespace mirel {

/// How a map agrees with another one of the same head, in voxels, over the head. Another shim or
/// another place of the head makes them differ by a constant and more.
struct StartAgreement {
  double correlation = 0;    ///< 0 where one of them is constant
  double median = 0;         ///< of map less start
  double halfWidthOf95 = 0;  ///< 95 % of the differences lie within so much of their median
  double shareOfZeros = 0;   ///< voxels where the start is exactly 0, as masked fields are
};

/// A start that is 0 in more than this part of the head was masked.
inline constexpr double mostZeros = 0.05;

/// Over the voxels where `head` is above 0; all 0 where there are none.
StartAgreement agreementWithStart(const Volume<float>& map, const Volume<float>& start,
                                  const Volume<float>& head);

}  // namespace mirel

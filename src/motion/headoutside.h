#pragma once

#include "containers/volume.h"
#include "field/grid.h"
#include "motion/seriesmotion.h"

namespace mirel {

/// The largest part of a head that lies in no measured slice, of all volumes, and in which.
struct HeadOutside {
  double part = 0;
  int volume = 0;
};

/// @param head  what is head of the corrected series: 1 there, 0 elsewhere
HeadOutside headOutside(const Volume<unsigned char>& head, const SeriesMotion& motion,
                        const Grid& grid, int axis);

}  // namespace mirel

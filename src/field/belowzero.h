#pragma once

#include <cstdint>

#include "containers/volume.h"

/// Interpolation falls a little below 0 beside bright spots and in noise. One rule for all
/// corrected images that are written, volume by volume: of a volume that holds no value below 0 as
/// it was read (scaled, no background taken off) the corrected one holds none either, but 0 in its
/// place. Of others, phases and differences say, such values have a meaning, and all is written as
/// it is. What is computed from corrected volumes is computed before.
namespace mirel {

/// Whether any voxel is below 0; -0 and NaN are not.
bool holdsBelowZero(const Volume<float>& volume);

/// Sets voxels below 0 to 0, and leaves all others as they are, NaN too; their number.
std::int64_t raiseToZero(Volume<float>& volume);

}  // namespace mirel

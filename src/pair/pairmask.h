#pragma once

#include <string>

#include "pair/pairinput.h"

namespace mirel {

/// Reads where a pair counts into its `mask`: an image of the pair's grid, drawn on the undistorted
/// head. An image of two values of which the lower is 0 (0 and 255) is taken as 0 and 1, with a
/// note. A mask of another subject, by the names, is warned of.
///
/// Errors  Error, naming the file: those of nifti::Reader; it holds several volumes, lies on
/// another
///         grid than the images (by more than a twentieth of a voxel), or holds values that are not
///         finite, below 0, or above 1 where there are more than two; it is 0 everywhere.
void readMask(const std::string& file, PairInput& pair);

}  // namespace mirel

#pragma once

#include <string>

#include "pair/pairinput.h"

namespace mirel {

/// Reads where a pair counts into its `mask`: an image of the pair's grid, drawn on the undistorted
/// head. An image of two values of which the lower is 0 (0 and 255) is taken as 0 and 1, with a
/// note. A mask of another subject or session, by the names, is warned of.
///
/// Errors  Error, naming the file: those of nifti::Reader; it holds several volumes, lies on
/// another
///         grid than the images (by more than a twentieth of a voxel), or holds values that are not
///         finite, below 0, or above 1 where there are more than two; it is 0 everywhere.
void readMask(const std::string& file, PairInput& pair);

/// Of the signal that weights take of a head (1 inside, 0 outside), the part in columns along the
/// phase-encoding axis of which they leave out between a twentieth and nineteen twentieths. The
/// total of such a column and where it ends no longer tell anything; a mask of the brain cuts
/// nearly all.
double partInCutColumns(const Volume<float>& head, const Volume<float>& weights, int axis);

}  // namespace mirel

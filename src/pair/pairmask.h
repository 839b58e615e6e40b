#pragma once

#include <optional>
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

/// Signal at the border of where weights are above 0, outside: the median of the voxels beside it
/// along the axis, less that of all that lie outside, over the mean inside. Near 0 where the
/// weights end in air (0.01 at most in simulated heads), or leave out a part of the head and
/// nothing else; 0.06 and more where they end on the head's border. 0 where nothing lies outside or
/// inside.
double signalAtBorder(const Volume<float>& image, const Volume<float>& weights, int axis);

/// The warning about a mask whose border lies on signal, if it does.
///
/// @param mean  of the corrected images
std::optional<Remark> doubtAboutBorder(const PairInput& pair, const Volume<float>& mean);

}  // namespace mirel

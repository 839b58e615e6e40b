#pragma once

#include "containers/volume.h"

namespace mirel {

/// The intensity that was added to all of an image, air included: some programs shift images so
/// that air is not 0, or subtract a mean. Distortion piles up signal, not that.
///
/// It is the mode m of the air: the middle of the densest hundredth of the intensities, by halving
/// the shortest interval that holds a tenth of the voxels again and again (half-sample mode). It
/// counts as added only where
///
///   - m is more than 4 % of the head's level in size (the mean, above m, of what exceeds Otsu's
///     threshold): less changes a field by less than the pair can tell;
///   - hardly anything is darker: one voxel in a thousand lies more than a fifth of the head's
///   level
///     below m. Otherwise m is tissue that fills the image, not air;
///   - the air does not reach down to zero, as the noise of magnitude images does: they have a
///     noise floor, which is not added to the head's signal (H. Gudbjartsson, S. Patz, Magn. Reson.
///     Med. 34:910, 1995).
///
/// and is 0 otherwise, exactly.
///
/// Units    those of the image. image + c has the background of `image` plus c where both have one.
/// Edges    0 for a constant or empty image. Voxels that are not finite are left out.
double addedBackground(const Volume<float>& image);

}  // namespace mirel

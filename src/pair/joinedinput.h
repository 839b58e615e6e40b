#pragma once

#include "nifti/image.h"
#include "pair/pairinput.h"

namespace mirel {

/// Reads the volumes that `image.options` chooses, those of the further images, too, and joins them
/// (joinVolumes) into `image`. Without a choice it is the options' one volume of each file.
///
/// Errors  Error, naming the file: those of nifti::Reader and chosenVolumes; voxels that are not
///         finite, or all alike, in any of the volumes; a further image of other dimensions or
///         voxel sizes, or whose axes are turned by more than 5 degrees against those of the image.
///
/// @param reader  of the image, whose header `image` has
void readJoined(nifti::Reader& reader, InputImage& image);

/// The same volume of one file is in both.
bool takeSameVolume(const InputImage& a, const InputImage& b);

/// What was found when volumes were joined goes to the pair's notes and warnings; and doubts about
/// further images, that they are of another subject or session by their names.
void tellOfJoining(const InputImage& image, PairInput& pair);

}  // namespace mirel

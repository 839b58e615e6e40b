#pragma once

#include "average/volumemean.h"
#include "field/rigidalignment.h"

namespace mirel {

/// A volume where the head is in a reference.
struct VolumeAlignment {
  AlignedVolume volume;       ///< on the grid of the reference
  double displacementMm = 0;  ///< of the head against the reference, root mean square
  bool moved = false;         ///< that was undone
  RigidMotion motion = {};    ///< then: from the reference to it
};

/// Looks for motion between a reference and a volume of the same contrast and distortion and undoes
/// it by cubic splines where judgedMotion says that the head moved. A volume that did not move and
/// lies on the reference's grid is not interpolated.
///
/// @param aligner  of the reference
/// @param target   its grid
/// Errors  Error, naming the volume, for an affine that is singular or not finite.
VolumeAlignment alignVolume(const RigidAligner& aligner, const Grid& target,
                            const PlacedImage& image);

}  // namespace mirel

#pragma once

#include <string>
#include <vector>

#include "base/advice.h"
#include "field/signcheck.h"
#include "numerics/rigidmotion.h"

namespace mirel {

/// One volume of several that were taken with the same phase-encoding direction.
struct VolumeToJoin {
  PlacedImage image;  ///< its name is what messages call it: "volume 3 of a.nii.gz"
  std::string file;   ///< that it is from
  int volume = 0;     ///< counted from 0 in it
};

/// What became of a volume.
struct JoinedPart {
  enum class Fate {
    counted,       ///< in all slices, or in most
    beforeSteady,  ///< left out: brighter than those after it
    differs,       ///< left out: most of it does not show what the others do
  };
  std::string name, file;
  int volume = 0;
  Fate fate = Fate::counted;
  double gain = 1;   ///< its intensity over the others'
  double share = 1;  ///< of its signal that counts
  /// Slices of the reference's grid that count less than fully.
  std::vector<int> weakSlices = {};
  double displacementMm = 0;  ///< of the head against the reference, root mean square
  bool moved = false;         ///< that was undone
  RigidMotion motion = {};    ///< from the reference to it, about `JoinedVolumes::centreMm`
};

struct JoinedVolumes {
  Volume<float> image;  ///< on the grid of the reference
  std::size_t reference = 0;
  glm::dvec3 centreMm{0.0};
  std::vector<JoinedPart> parts;  ///< in the order of the volumes
  std::vector<Remark> notes, warnings;

  /// Those of one file, counted from 0 in it.
  std::vector<int> volumesOf(const std::string& file) const;
};

/// Joins volumes of one head and one phase-encoding direction to one image. Their distortion is
/// taken to be the same but for a rigid motion of the head.
///
/// Steady    volumes from the beginning of a file, before its others, whose intensity exceeds that
///           of the last half of these by 5 % are left out.
/// Reference the first volume on the grid of the first one that agrees with the others
/// (agreementsOf) in 9/10 of its signal. Motion    between it and each volume, by RigidAligner, is
/// undone with cubic splines where it
///           displaces the head by a sixteenth of the longest voxel edge or more, and by 4 standard
///           errors. Other volumes are not interpolated.
/// Mean      weighted by agreementsOf; a volume of which less than a quarter counts is left out.
/// Where
///           all volumes count and none moved it is the plain mean, bit for bit.
///
/// All volumes have the same dimensions; there is at least one. Those on a grid elsewhere (another
/// affine) are interpolated in any case.
/// Errors    Error, naming a volume, for an affine that is singular or not finite.
JoinedVolumes joinVolumes(std::vector<VolumeToJoin> volumes);

}  // namespace mirel

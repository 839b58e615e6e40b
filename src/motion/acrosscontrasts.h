#pragma once

#include <optional>

#include "field/rigidalignment.h"
#include "motion/motionsamples.h"

namespace mirel {

/// Where the head is in volumes of a series that have another contrast than its reference volume,
/// such as those with diffusion gradients: by normalised mutual information (RigidAligner) of the
/// undistorted images. Not for several threads.
class AcrossContrasts {
 public:
  /// `reference` is a volume on the place's grid, without its background, all of it finite.
  /// Errors  those of RigidAligner.
  AcrossContrasts(const Volume<float>& reference, const DistortedPlace& where,
                  const std::string& name);

  /// Looks for the motion from one on that is about right: the volume is corrected with it and
  /// aligned, twice. Nothing where what is left is not credible (judgedMotion), or the volume shows
  /// no head (RigidAligner::showsHead); `start` as it is where the head is not displaced from there
  /// by more than could be chance.
  std::optional<glm::dmat4> align(const Volume<float>& image, const glm::dmat4& start) const;

 private:
  DistortedPlace place;
  std::string name;
  RigidAligner aligner;
};

}  // namespace mirel

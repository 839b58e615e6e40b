#pragma once

#include <optional>
#include <string>

#include "field/rigidalignment.h"

namespace mirel {

/// Whether a motion that was found is one of the head.
struct FoundMotion {
  enum class Outcome {
    moved,
    notMoved,  ///< not by more than could be chance
    refused,   ///< it is not credible
  };
  Outcome outcome = Outcome::notMoved;
  double displacementMm = 0;  ///< of the head, root mean square
  /// Of that, where it is so large that it was asked for (RigidAligner::standardErrorMm).
  std::optional<double> standardErrorMm = {};
  std::string reason = {};  ///< why it was refused: "parts of the head ..."
};

/// Judges what `aligner` found for `image`.
///
/// Moved    the head was displaced by a sixteenth of the image's longest voxel edge or more, and by
///          4 standard errors.
/// Refused  a translation beyond 40 mm or a rotation beyond 30 degrees; less than 3/10 of the head
///          in the image; a standard error above 1 mm.
FoundMotion judgedMotion(const RigidAligner& aligner, const PlacedImage& image,
                         const AlignmentFit& fit);

}  // namespace mirel

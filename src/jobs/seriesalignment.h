#pragma once

#include <functional>
#include <optional>
#include <string>

#include "field/beforemotion.h"
#include "field/corrector.h"
#include "field/rigidalignment.h"

namespace mirel {

/// Whether the head moved between what the field was estimated from and a series.
struct AlignmentRecord {
  enum class Outcome {
    moved,        ///< the field was carried along
    notMoved,     ///< not by more than could be chance: the headers' place is right
    refused,      ///< a motion was found that is not credible: the headers' place is taken
    notPossible,  ///< there is too little to compare: the headers' place is taken
  };
  Outcome outcome = Outcome::notMoved;
  AlignmentFit fit;  ///< what was found, whether it was taken or not
  glm::dvec3 centreMm{0.0};
  double displacementMm = 0;  ///< of the head by the motion that was found, root mean square
  /// Of that, where it is so large that it was asked for (RigidAligner::standardErrorMm).
  std::optional<double> standardErrorMm;
  int rounds = 0;      ///< of correcting and aligning
  std::string reason;  ///< why it was refused or not possible: "parts of the head ..."

  bool moved() const { return outcome == Outcome::moved; }
};

/// A series before it is corrected, as far as an alignment needs it.
struct UnalignedSeries {
  Volume<float> mean;  ///< less its background
  Grid grid;
  std::string name;
  int axis = 1;  ///< phase encoding
  Modulation modulation = Modulation::off;
  /// The series' displacement map if its voxels lay elsewhere.
  std::function<Volume<float>(const Grid&)> shiftOn;
};

/// "moved", "not moved", "refused" or "not possible".
std::string nameOf(AlignmentRecord::Outcome outcome);

/// Finds how the head moved from its place in the aligner's reference, at which the field is known,
/// to that in the series. The series is corrected by the field where the head is thought to be and
/// aligned, in turn, until the motion changes by less than 0.03 mm.
///
/// Moved        as judgedMotion says.
/// Refused      as it says, or with no end after 10 rounds.
/// Not possible where the aligner cannot compare (RigidAligner::canCompare).
/// Errors       those of RigidAligner::align and of shiftOn.
AlignmentRecord alignSeries(const RigidAligner& aligner, const UnalignedSeries& series);

}  // namespace mirel

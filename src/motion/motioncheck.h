#pragma once

#include <optional>
#include <string>
#include <vector>

#include "field/corrector.h"
#include "field/grid.h"
#include "motion/seriesmotion.h"

/// Do the images of a series agree with the motion that is said to be theirs?
namespace mirel {

/// What a check compares.
struct MovedImages {
  std::string file;
  Grid grid;
  /// Volumes of like contrast, counted from 0, of which some are compared.
  std::vector<int> usable;
  const Volume<float>& shift;  ///< the map of the series where the head is at the reference
  int axis = 1;
  double background = 0;  ///< added to all intensities
};

struct MotionCheck {
  enum class Verdict { right, opposite, unmoved, undecided };

  int against = 0;           ///< the volume that moved least, to which the others are compared
  std::vector<int> volumes;  ///< those that moved most against it
  double largestMm = 0;      ///< by so much
  /// Mean normalised mutual information of those volumes with that one, with the motion as it was
  /// read, with its opposite, and without any; 1 .. 2.
  double asGiven = 1, opposite = 1, unmoved = 1;
  Verdict verdict = Verdict::undecided;
};

/// Brings the volumes that moved most, four at most, to where the head is in the one that moved
/// least: with the motion, with its opposite and without any, each corrected for distortion. The
/// verdict is "right" or "opposite" or "unmoved" where that one agrees best, by as much as decides
/// in compareSigns; with less than 0.1 mm of motion it is "undecided".
/// Errors  those of nifti::Reader.
MotionCheck checkMotion(const MovedImages& images, const SeriesMotion& motion);

}  // namespace mirel

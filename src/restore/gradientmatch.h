#pragma once

#include <vector>

#include "nifti/gradients.h"

namespace mirel {

/// One volume of each series, counted from 0.
struct VolumePair {
  int first, second;
  bool operator==(const VolumePair&) const = default;
};

/// Which volumes of two diffusion series have the same weighting.
struct GradientMatch {
  std::vector<VolumePair> pairs;  ///< in the order of the first series
  std::vector<int> onlyFirst, onlySecond;
  /// Of the pairs: the largest angle between directions in degrees and the largest difference of
  /// b in s/mm^2, without volumes of b = 0.
  double largestAngle = 0, largestDifferenceOfB = 0;
  /// The axis (0, 1, 2) whose sign seems to be wrong in one of the tables: with it negated twice
  /// as many weighted volumes match, and most of them; -1: none.
  int negatedAxis = -1;
};

/// Joins the volumes of two series by their gradient tables. Two match when
///
///   both have b <= greatestUnweighted; or
///   their b differ by 20 s/mm^2 or 2 % of the larger at most, as scanners round it, and their
///   directions by 2 degrees, g and -g being the same (both without a direction match, too).
///
/// Closest directions come first; repeats, whose directions are equal to a tenth of a degree, in
/// their order. No volume is taken twice.
GradientMatch matchGradients(const nifti::GradientTable& first, const nifti::GradientTable& second);

/// The table of the joined volumes: that of the first series where both say the same; else b is
/// the mean and the direction, in the first one's sense, the middle of both.
nifti::GradientTable joinedGradients(const nifti::GradientTable& first,
                                     const nifti::GradientTable& second,
                                     const std::vector<VolumePair>& pairs);

}  // namespace mirel

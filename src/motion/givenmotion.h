#pragma once

#include <optional>
#include <string>

#include "motion/seriesmotion.h"

namespace mirel {

/// Whose conventions transforms follow.
enum class MotionProgram { fsl, spm, afni, itk };

/// "FSL", "SPM", "AFNI" or "ITK".
std::string nameOf(MotionProgram program);

/// Whose conventions a form follows.
MotionProgram programOf(MotionForm form);

/// What the user says of the head's motion within a series.
struct GivenMotion {
  std::string file;  ///< or the folder of FSL's matrices; empty: nothing
  /// Nothing: as the file tells itself.
  std::optional<MotionProgram> program = {};
  /// The volume of the series, counted from 0, that the others were aligned to; nothing: the one
  /// that did not move, where there is one.
  std::optional<int> referenceVolume = {};
  std::string referenceImage = {};  ///< or the image; empty: not said
};

/// Nothing that is farther off counts as in place: six digits of a coordinate, and less than a
/// voxel's hundredth.
inline constexpr double inPlaceMm = 0.005;

}  // namespace mirel

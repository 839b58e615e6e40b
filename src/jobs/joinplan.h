#pragma once

#include <string>
#include <vector>

#include "jobs/seriesinput.h"
#include "restore/gradientmatch.h"

namespace mirel {

/// Two diffusion series of opposite phase encoding that are to become one.
struct JoinPlan {
  SeriesInput first, second;
  std::vector<VolumePair> pairs;
  nifti::GradientTable gradients;  ///< of the joined volumes
  std::string stem;                ///< sub-01_desc-restored_dwi
  /// What the tables say against joining, and what was done with volumes that do not match.
  std::vector<Remark> notes, warnings;
};

/// Takes out of `series` the two that have gradient tables (.bval and .bvec) and matches their
/// volumes (matchGradients). What does not match goes back into `series`, as the volumes of it that
/// are to be corrected alone.
///
/// Errors  Error, one sentence: other than two series with gradient tables; the same direction or
///         another axis; other dimensions, or a place more than a twentieth of a voxel away; echo
///         times that differ by more than 1 %; no volumes that match; faults of the tables.
JoinPlan planJoining(std::vector<SeriesInput>& series);

}  // namespace mirel

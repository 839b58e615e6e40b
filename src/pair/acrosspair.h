#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/advice.h"
#include "base/progress.h"
#include "pair/pairestimate.h"

namespace mirel {

/// What a pair along another axis did for the field.
struct AcrossFindings {
  bool used = false;                        ///< otherwise it is not to be trusted, and was left out
  double displacementMm = 0;                ///< of the head between the two pairs, root mean square
  std::optional<RigidMotion> motion = {};   ///< from the pair to the one across, if it was undone
  std::optional<StartAgreement> with = {};  ///< of the pair's field with that of the one across
  std::vector<Remark> notes, warnings;
};

/// Estimates the map of a pair and, on its own, that of the pair along another axis
/// (`pair.across`). The map is then the mean of both fields, at each voxel weighted with their
/// evidence, the inverse of their variances given their images (posteriorVariance):
///
///   f = (f1 / s1^2 + f2 / s2^2) / (1 / s1^2 + 1 / s2^2),    s^2 = 1 / (1 / s1^2 + 1 / s2^2)
///
/// Where the pair across does not reach the map is that of the pair.
///
/// Motion    Both corrected means are aligned (alignVolume). Where the head moved between the pairs
///           the field across is taken to its place in the pair.
/// Trust     A pair across whose verdict is not to trust it is left out, with a warning.
/// Errors    Error, naming the file: those of estimatePairMap; a pair without a readout time, which
///           gives no field; grids that have no place in common.
PairEstimate estimateWithAcross(const PairInput& pair, const EstimateSettings& settings,
                                Progress& progress, AcrossFindings& findings);

}  // namespace mirel

#pragma once

#include <optional>

#include "base/json.h"
#include "jobs/runrecord.h"
#include "report/displacement.h"

namespace mirel::report {

/// What was measured of the map of a run for its page; of a pair's, or of that of the first series.
struct MeasuredMap {
  Displacement displacement;
  double voxelMm = 1;                  ///< along the phase-encoding axis
  std::optional<double> hzPerVoxel{};  ///< nothing: not known
};

/// {word, level, sentence, reasons}: "Trusted", "Look here" or "Do not trust", with the class of
/// its colour. Without a pair a run is judged by its warnings and the signs of its series, and at
/// best "Corrected".
Json verdictPart(const RunRecord& run);

/// The figures, {what, found, meaning} each.
Json figuresPart(const RunRecord& run, const std::optional<MeasuredMap>& map);

}  // namespace mirel::report

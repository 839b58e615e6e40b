#pragma once

#include <optional>
#include <string>

#include "bids/units.h"
#include "containers/volume.h"
#include "nifti/header.h"

/// Fields that were measured: phases of gradient echoes, and what they say in Hz.
namespace mirel {

/// How the values of a phase image are angles: v means (v - zero) * radiansPerUnit.
struct PhaseScale {
  enum class Source {
    units,    ///< its sidecar says rad
    scaling,  ///< slope and intercept make this scale of 12-bit samples
    range,    ///< the image fills it
  };

  double zero = 0, radiansPerUnit = 1;
  std::string name;  ///< "0 .. 4095"
  Source source = Source::range;

  /// "units", "slope and intercept", "range of the values".
  std::string sourceText() const;
};

/// The scale of a phase image by the first of these:
///
///   `stated` is rad: radians
///   slope and intercept take 0 .. 4095 to one of phaseRanges()
///   the image fills one of phaseRanges(), and of its neighbours more than one pair in 10000
///   differ by more than half of it: phases jump where they are wrapped, and in noise
///
/// Values that are not finite are left out.
/// Errors  Error: fewer than two values; values beyond the scale; another unit than rad and
///         arbitrary; none of the above.
PhaseScale phaseScaleOf(const Volume<float>& values, const nifti::Header& header,
                        std::optional<bids::Unit> stated, const std::string& file);

/// The angles within half a turn of 0; NaN where the value is not finite.
Volume<float> radiansOf(const Volume<float>& values, const PhaseScale& scale);

}  // namespace mirel

#pragma once

#include <string>

#include "phase/phasefile.h"

namespace mirel {

/// When the two echoes were, between which a phase grew, in s.
struct EchoTimes {
  double first = 0, second = 0;
  std::string source;  ///< the sidecar or the two, or "option"

  double difference() const { return second - first; }
};

/// Of a difference of phases: EchoTime1 and EchoTime2 of its sidecar.
///
/// Errors  Error: no sidecar or no such fields; values that are no numbers of seconds between
///         0.0001 and 0.3 (they may be in ms); EchoTime2 not 0.0001 s after EchoTime1, or more.
EchoTimes echoTimesOfDifference(const PhaseFile& phase);

/// Of two phases: EchoTime of either sidecar. The second echo may be the earlier one.
/// Errors  Error: as above; times less than 0.0001 s apart.
EchoTimes echoTimesOf(const PhaseFile& first, const PhaseFile& second);

/// Times that a user gave, of which the second is the later one. Errors as above.
EchoTimes givenEchoTimes(double first, double second);

}  // namespace mirel

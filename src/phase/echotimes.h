#pragma once

#include <string>
#include <vector>

#include "phase/phasefile.h"

namespace mirel {

/// When the echoes were, between which a phase grew, in s: two or more.
struct EchoTimes {
  std::vector<double> seconds;
  std::string source;  ///< the sidecars, or "option"

  /// From the first echo to another one.
  double difference(std::size_t echo = 1) const { return seconds.at(echo) - seconds.front(); }
};

/// Of a difference of phases: EchoTime1 and EchoTime2 of its sidecar.
///
/// Errors  Error: no sidecar or no such fields; values that are no numbers of seconds between
///         0.0001 and 0.3 (they may be in ms); EchoTime2 not 0.0001 s after EchoTime1, or more.
EchoTimes echoTimesOfDifference(const PhaseFile& phase);

/// Of phases, two or more: EchoTime of each sidecar, in any order; a list where a file has several
/// echoes.
/// Errors  Error: as above; times less than 0.0001 s apart.
EchoTimes echoTimesOf(const std::vector<PhaseFile>& phases);

/// Times that a user gave, each later than the one before. Errors as above.
EchoTimes givenEchoTimes(const std::vector<double>& seconds);

}  // namespace mirel

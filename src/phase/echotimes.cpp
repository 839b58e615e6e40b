#include "phase/echotimes.h"

#include <cmath>

#include "base/error.h"
#include "base/numbertext.h"

namespace mirel {

namespace {

constexpr double shortest = 1e-4, longest = 0.3;
constexpr double leastDifference = 1e-4;  // a field of 5000 Hz in half a turn
constexpr Advice advice{Advice::Kind::giveEchoTimes};

// `what` names the time and where it is from.
void refuseImpossible(double seconds, const std::string& what) {
  if (seconds >= shortest && seconds <= longest) return;
  throw Error(what + " is " + text(seconds) + " s, which no echo time is" +
                  (seconds > longest ? "; it may be in milliseconds" : ""),
              advice);
}

double timeOf(const PhaseFile& phase, const std::string& field) {
  if (!phase.sidecar)
    throw Error(phase.file, "has no sidecar, which would say its " + field, advice);
  if (!phase.sidecar->json().contains(field))
    throw Error(phase.sidecar->title(), "has no " + field, advice);
  const std::string& file = phase.sidecar->fileOf(field);
  const std::optional<double> seconds = phase.sidecar->json().numberOf(field);
  if (!seconds) throw Error::ofField(file, field, "has an " + field + " that is no number", advice);
  refuseImpossible(*seconds, field + " in " + file);
  return *seconds;
}

void refuseClose(const EchoTimes& times, const std::string& of) {
  if (std::abs(times.difference()) >= leastDifference) return;
  throw Error(of + " has the echo times " + text(times.first) + " s and " + text(times.second) +
                  " s, between which no phase grows",
              advice);
}

void refuseOrder(const EchoTimes& times, const std::string& of) {
  if (times.second > times.first) return refuseClose(times, of);
  throw Error(of + " has the echo times " + text(times.first) + " s and " + text(times.second) +
                  " s, of which the second is to be the later one",
              advice);
}

}  // namespace

EchoTimes echoTimesOfDifference(const PhaseFile& phase) {
  EchoTimes times{timeOf(phase, "EchoTime1"), timeOf(phase, "EchoTime2"), {}};
  times.source = phase.sidecar->title();
  refuseOrder(times, times.source);
  return times;
}

EchoTimes echoTimesOf(const PhaseFile& first, const PhaseFile& second) {
  EchoTimes times{timeOf(first, "EchoTime"), timeOf(second, "EchoTime"), {}};
  times.source = first.sidecar->title() + ", " + second.sidecar->title();
  refuseClose(times, times.source);
  return times;
}

EchoTimes givenEchoTimes(double first, double second) {
  EchoTimes times{first, second, "option"};
  refuseImpossible(first, "the first echo time");
  refuseImpossible(second, "the second echo time");
  refuseOrder(times, "the command line");
  return times;
}

}  // namespace mirel

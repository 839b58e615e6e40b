#include "phase/echotimes.h"

#include <algorithm>
#include <cmath>

#include "base/error.h"
#include "base/joined.h"
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

// Of a file with several echoes: its field is a list of as many times.
double oneOfList(const PhaseFile& phase, const std::string& field) {
  const std::vector<double> times = phase.sidecar->json().numbersOf(field);
  const std::size_t echoes = static_cast<std::size_t>(phase.echoesInFile);
  if (times.size() != echoes)
    throw Error::ofField(phase.sidecar->fileOf(field), field,
                         "has an " + field + " that is no list of " + std::to_string(echoes) +
                             " times, one per volume of " + phase.file,
                         advice);
  return times[static_cast<std::size_t>(phase.echo)];
}

double timeOf(const PhaseFile& phase, const std::string& field) {
  if (!phase.sidecar)
    throw Error(phase.file, "has no sidecar, which would say its " + field, advice);
  if (!phase.sidecar->json().contains(field))
    throw Error(phase.sidecar->title(), "has no " + field, advice);
  const std::string& file = phase.sidecar->fileOf(field);
  const std::optional<double> seconds = phase.echoesInFile > 1
                                            ? std::optional(oneOfList(phase, field))
                                            : phase.sidecar->json().numberOf(field);
  if (!seconds) throw Error::ofField(file, field, "has an " + field + " that is no number", advice);
  refuseImpossible(*seconds, field + " in " + file);
  return *seconds;
}

std::string listOf(const std::vector<double>& seconds) {
  std::string list;
  for (std::size_t n = 0; n < seconds.size(); ++n)
    list += (n == 0 ? "" : n + 1 == seconds.size() ? " s and " : " s, ") + text(seconds[n]);
  return list + " s";
}

// "a.json has the echo times ...", of one file or several.
std::string saidTimes(const EchoTimes& times, const std::string& of, bool several = false) {
  return of + (several ? " have the echo times " : " has the echo times ") + listOf(times.seconds);
}

void refuseClose(const EchoTimes& times, const std::string& said) {
  for (std::size_t n = 0; n < times.seconds.size(); ++n)
    for (std::size_t m = 0; m < n; ++m)
      if (std::abs(times.seconds[n] - times.seconds[m]) < leastDifference)
        throw Error(said + ", between which no phase grows", advice);
}

void refuseOrder(const EchoTimes& times, const std::string& of) {
  const std::vector<double>& seconds = times.seconds;
  if (!std::is_sorted(seconds.begin(), seconds.end()))
    throw Error(saidTimes(times, of) + ", of which each is to be later than the one before",
                advice);
  refuseClose(times, saidTimes(times, of));
}

}  // namespace

EchoTimes echoTimesOfDifference(const PhaseFile& phase) {
  EchoTimes times{{timeOf(phase, "EchoTime1"), timeOf(phase, "EchoTime2")}, {}};
  times.source = phase.sidecar->title();
  refuseOrder(times, times.source);
  return times;
}

EchoTimes echoTimesOf(const std::vector<PhaseFile>& phases) {
  EchoTimes times;
  std::vector<std::string> sidecars;
  for (const PhaseFile& phase : phases) {
    times.seconds.push_back(timeOf(phase, "EchoTime"));
    // One tells those of all echoes in a file.
    const std::string title = phase.sidecar->title();
    if (std::find(sidecars.begin(), sidecars.end(), title) == sidecars.end())
      sidecars.push_back(title);
  }
  times.source = joined(sidecars);
  refuseClose(times, saidTimes(times, joined(sidecars, " and "), sidecars.size() > 1));
  return times;
}

EchoTimes givenEchoTimes(const std::vector<double>& seconds) {
  for (const double each : seconds) refuseImpossible(each, "an echo time of the command line");
  EchoTimes times{seconds, "option"};
  refuseOrder(times, "the command line");
  return times;
}

}  // namespace mirel

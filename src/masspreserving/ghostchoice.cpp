#include <algorithm>
#include <cmath>

#include "masspreserving/estimation.h"

namespace mirel {

namespace {

// By how much taking a ghost off the head, too, has to lower the residuals' variance of a fit to
// the images without the ghost in the air.
constexpr double leastGhostGain = 1.4;

}  // namespace

// What half the resolution tells of the images without these ghosts.
double Estimation::withoutGhosts(const Volume<float>& first, const Volume<float>& second,
                                 const PairGhosts& ghosts) {
  setImages(withoutGhost(first, ghosts.first, ghosts.cosine),
            withoutGhost(second, ghosts.second, ghosts.cosine));
  now = State();
  fitCoarse(Head::still);
  return now.logLikelihood;
}

// Takes the ghosts off the images if there are any and the residuals in the head tell their phase;
// if not, everything is left as it was, and the result says so. The field follows the ghosts in the
// air, and its residuals then tell next to nothing of those in the head: so the phase is tried out.
void Estimation::chooseGhosts(const Volume<float>& first, const Volume<float>& second) {
  PairGhosts found{ghostInAir(first), ghostInAir(second)};
  result.ghostsLeft = found;
  if (levels.size() < 2 || found.areNone()) return;
  const auto logLikelihood = [&](double cosine) {
    found.cosine = cosine;
    return withoutGhosts(first, second, found);
  };
  const double inAir = logLikelihood(0.0), in = logLikelihood(1.0), counter = logLikelihood(-1.0);
  double cosine = in >= counter ? 1.0 : -1.0, best = std::max(in, counter);
  // Less of it, as long as that is better.
  for (const double part : {0.75, 0.5}) {
    const double other = logLikelihood(std::copysign(part, cosine));
    if (!(other > best)) break;
    best = other;
    cosine = std::copysign(part, cosine);
  }
  found.cosine = cosine;
  now = State();
  result.iterations = result.solverIterations = 0;
  if (!(std::exp(2.0 * (best - inAir)) > leastGhostGain)) {
    setImages(first, second);
    return;
  }
  result.ghosts = found;
  result.ghostsLeft = {};
  setImages(withoutGhost(first, found.first, found.cosine),
            withoutGhost(second, found.second, found.cosine));
}

}  // namespace mirel

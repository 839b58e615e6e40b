#include <algorithm>
#include <cmath>
#include <utility>

#include "masspreserving/estimation.h"

namespace mirel {

namespace {

constexpr RatioModel shading{2, false}, contrast{0, true}, shadingAndContrast{2, true};
// By how much a ratio has to lower the residuals' variance; and by how much more than contrast
// alone where there is contrast, or both parts than one.
constexpr double leastGain = 1.25, leastGainBesideOther = 2.0;
// A motion that lowers the residuals' variance by so much is no ratio in disguise: those that
// pretend a motion are explained by it in part only.
constexpr double clearVarianceRatio = 4.0;
// Their prior precisions before anything is known: shading of 1 %, contrasts of some per cent.
constexpr double firstShapeWeight = 1e4, firstKnotWeight = 1e3;

}  // namespace

void Estimation::startRatio() {
  now.ratio = {};
  now.ratio.shapeWeight = firstShapeWeight;
  now.ratio.knotWeight = firstKnotWeight;
}

// Half the resolution again, with a ratio of intensities.
Estimation::State Estimation::withRatio(RatioModel model, const State& from, Head mode) {
  now = from;
  startRatio();
  now.model = model;
  runLevel(1, mode, Ratio::inQuestion);
  return now;
}

bool Estimation::ratioExplains(const State& with, const State& without, double gain) const {
  // With heavy tails the likelihood measures the bulk, which a few places do not sway.
  return with.ratioSpread > leastRatioSpread &&
         std::exp(2.0 * (with.logLikelihood - without.logLikelihood)) > gain;
}

// Takes the ratio of intensities that explains the images, if any does; if not, everything is left
// as it was. Whether one was taken.
bool Estimation::chooseRatio(Head mode) {
  const State plain = now;
  const State shaded = withRatio(shading, plain, mode),
              contrasted = withRatio(contrast, plain, mode);
  const bool hasShading = ratioExplains(shaded, plain, leastGain),
             hasContrast = ratioExplains(contrasted, plain, leastGain);
  if (!hasShading && !hasContrast) {
    now = plain;
    return false;
  }
  // Contrast can be told from a displacement more easily.
  const bool shadingFirst =
      !hasContrast || (hasShading && ratioExplains(shaded, contrasted, leastGainBesideOther));
  const State& first = shadingFirst ? shaded : contrasted;
  if (!ratioExplains(withRatio(shadingAndContrast, plain, mode), first, leastGainBesideOther))
    now = first;
  return true;
}

bool Estimation::MotionFit::isClear() const {
  return moved && evidence.varianceRatio > clearVarianceRatio;
}

// Fits the coarse resolutions again with a moving head, where it may have moved since `still`.
Estimation::MotionFit Estimation::findMotion(State still) {
  now = still;
  const glm::dvec3 mm = levels.front().voxelMm;
  const double shortest = std::min({mm.x, mm.y, mm.z});
  const double stillVariance = still.statistics.noise.variance;
  MotionFit found{std::move(still), firstEvidence()};
  if (!found.evidence.mayBeMotion(shortest)) return found;
  fitCoarse(Head::moving);
  found.evidence = evidenceNow();
  found.evidence.varianceRatio = stillVariance / now.statistics.noise.variance;
  found.moved = found.evidence.isMotion(shortest);
  if (found.moved) found.fit = now;
  return found;
}

MotionEvidence Estimation::evidenceNow() const {
  const Images& pair = imagesOf(1);
  return {pair.first, pair.second, now.b, now.head, placeOfLevel(1)};
}

// What one step of the motion tells, from a fit without.
MotionEvidence Estimation::firstEvidence() const {
  const Images& pair = imagesOf(1);
  Work work(*this, 1, Head::still, now.b);
  LevelFit& fit = *work.fit;
  const HeadMotion head = firstMotion(fit, pair.first, pair.second, placeOfLevel(1),
                                      solverTolerance, mostSolverIterations);
  return {pair.first, pair.second, fit.displacement(), head, placeOfLevel(1)};
}

// A ratio of intensities where a head that clearly moved needs one, too.
Estimation::MotionFit Estimation::ratioBeside(const MotionFit& moved) {
  now = moved.fit;
  if (!chooseRatio(Head::moving)) return moved;
  fitCoarse(Head::moving);  // once more: the motion was found without the ratio
  MotionFit both{now, evidenceNow(), true};
  both.evidence.varianceRatio = moved.evidence.varianceRatio;
  return both;
}

// A motion beside the ratio of intensities that was taken; `plain` is without that. Motion at edges
// looks like a contrast: so a ratio is kept beside a motion only where the images need it with the
// motion, too.
Estimation::MotionFit Estimation::motionBeside(const MotionFit& plain) {
  MotionFit both = findMotion(now);
  const bool needed = !plain.moved || ratioExplains(both.fit, plain.fit, leastGain);
  return both.moved && !needed ? plain : both;
}

void Estimation::take(const MotionFit& found) {
  now = found.fit;
  result.motionMm = found.evidence.displacementMm;
  result.motionChiSquare = found.evidence.chiSquare;
  result.motionVarianceRatio = found.evidence.varianceRatio;
  if (!found.moved || !found.evidence.isLarge()) return;
  now.b -= static_cast<float>(found.evidence.meanShift);
  now.head.motion.translationMm.y = -2.0 * found.evidence.meanShift * placeOfLevel(1).voxelMm.y;
}

// All resolutions, with what the images ask for. Whether the head moved.
bool Estimation::fitAll() {
  fitCoarse(Head::still);
  const State plain = now;
  const bool several = levels.size() > 1, motions = options.estimateMotion && several,
             ratios = options.localRatio && options.estimateScale && several;
  // A clear motion comes first, since it pretends a ratio; otherwise a ratio may pretend a motion.
  MotionFit found = motions ? findMotion(plain) : MotionFit{plain};
  if (ratios && found.isClear()) {
    found = ratioBeside(found);
  } else if (ratios) {
    now = plain;
    if (chooseRatio(Head::still)) found = motions ? motionBeside(found) : MotionFit{now};
  }
  take(found);
  fitLevel(0, found.moved ? Head::moving : Head::still);
  return found.moved;
}

}  // namespace mirel

#include "masspreserving/masspreserving.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "masspreserving/headmotion.h"
#include "masspreserving/intensityscale.h"
#include "masspreserving/levelfit.h"
#include "masspreserving/massmodel.h"
#include "masspreserving/movedimage.h"
#include "masspreserving/pyramid.h"
#include "masspreserving/transport.h"

namespace mirel {

namespace {

constexpr int fewestVoxels = 12;         // along an axis of the coarsest resolution
constexpr double smallestStep = 0.01;    // in voxels; steps below it end a resolution
constexpr double smallestMotion = 0.05;  // of the grid's farthest corner, in voxels
constexpr double heldMotion = 0.025;     // the same; a resolution's later steps leave it as it is
constexpr double largestStretch = 0.98;  // between voxels of the result
// Of the ratio of intensities: a function of the intensity relative to its level near by (nodes a
// sixth of the longest edge apart), up to three times that, and polynomials of the place.
constexpr int knotCount = 31;
constexpr double knotStep = 0.1;
constexpr double levelCells = 6.0;
// Their prior precisions before anything is known: shading of 1 %, contrasts of some per cent.
constexpr double firstShapeWeight = 1e4, firstKnotWeight = 1e3;
// What of the ratio is free: shading as polynomials up to degree 2, contrast, or both.
struct RatioModel {
  int degree = 0;
  bool contrast = false;

  bool isNone() const { return degree == 0 && !contrast; }
};
constexpr RatioModel shading{2, false}, contrast{0, true}, shadingAndContrast{2, true};
// How much a ratio has to vary, as a standard deviation of its logarithm in the signal, and by how
// much it has to lower the residuals' variance; and by how much more than contrast alone where
// there is contrast, or both parts than one.
constexpr double leastSpread = 0.0175, leastGain = 1.25, leastGainBesideOther = 2.0;
// A ratio that is there varies by half as much as in the end after two steps, and by this part of
// what it has to at the very least.
constexpr int firstRatioSteps = 2;
constexpr double leastFirstSpread = leastSpread / 3.0;
// A motion that lowers the residuals' variance by so much is no ratio in disguise: those that
// pretend a motion are explained by it in part only.
constexpr double clearVarianceRatio = 4.0;
constexpr double placeMm = 12.0;
constexpr double solverTolerance = 0.2;
constexpr int mostSolverIterations = 60;
// The motion needs fewer steps than the displacement, and its steps cost more.
constexpr int mostMovingIterations = 6;
// At the finest resolution the response to motion is taken from the next coarser one and improved.
constexpr int mostFinestMotionIterations = 3;
constexpr int mostFinestMotionSteps = 3;
constexpr int posteriorDraws = 16;

// The prior precision of the roughness before anything is known: gradients of a tenth of a voxel
// per voxel are ordinary.
double firstRoughnessWeight(glm::dvec3 spacingMm) {
  const double y = spacingMm.y * spacingMm.y;
  return 30.0 * y / (1.0 + 100.0 / y);
}

using Images = std::pair<Volume<float>, Volume<float>>;

class Estimation {
 public:
  Estimation(const MassPreservingOptions& wanted,
             const std::function<void(const MassPreservingProgress&)>& listener)
      : options(wanted), progress(listener) {}

  MassPreservingResult run(const Volume<float>& first, const Volume<float>& second,
                           const glm::dvec3& voxelMm);

 private:
  enum class Head { still, moving };
  enum class Ratio { taken, inQuestion };
  void makeImages(const Volume<float>& first, const Volume<float>& second);
  Volume<float> startOn(int level) const;
  Volume<float> trustOn(int level) const;
  Volume<float> weightsOn(int level) const {
    return weights.empty() ? Volume<float>() : weights[static_cast<std::size_t>(level)];
  }
  void fitCoarse(Head mode);
  void fitLevel(int level, Head mode);
  void startLevel(int level, Head mode);
  void runLevel(int level, Head mode, Ratio ratio = Ratio::taken);
  // What a fit of the resolutions so far has found.
  struct State {
    PlaceTrust trust;  // that the fit is made with
    Volume<float> b;
    FitStatistics statistics;
    HeadMotion head;
    RatioModel model;
    RatioKnowledge ratio;
    double ratioSpread = 0.0;
    double logLikelihood = 0.0;  // of a residual, at half the resolution
  };
  // A fit of the coarse resolutions with motion, or without where there was none, and why.
  struct MotionFit {
    State fit;
    MotionEvidence evidence = {};
    bool moved = false;

    bool isClear() const { return moved && evidence.varianceRatio > clearVarianceRatio; }
  };
  void startRatio();
  State withRatio(RatioModel model, const State& from, Head mode);
  bool chooseRatio(Head mode);
  bool ratioExplains(const State& with, const State& without, double gain) const;
  RatioBasis<float> ratioBasis(int level) const;
  CoarseGrid nodesOver(int level, double cells) const;
  CoarseGrid places(int level) const;
  bool fitAll();
  // Whether the places are those that the fit was made with, or none stands out.
  bool isLastFit() const { return standingOut.isWhole() || !now.trust.isWhole(); }
  glm::dvec3 voxelPart(int level) const {
    return glm::dvec3(gridOf(level).factor) / glm::dvec3(levels.front().voxels);
  }
  MotionFit findMotion(State still);
  MotionEvidence firstEvidence() const;
  MotionEvidence evidenceNow() const;
  MotionFit ratioBeside(const MotionFit& moved);
  MotionFit motionBeside(const MotionFit& plain);
  void take(const MotionFit& found);
  Volume<float> seenByFirst(const Volume<float>& halfWay) const;
  void finishDeviation();
  void report(int level, int iteration, const LevelFit::Step& step, const FitStatistics& at);

  const PyramidLevel& gridOf(int level) const { return levels[static_cast<std::size_t>(level)]; }
  const Images& imagesOf(int level) const { return images[static_cast<std::size_t>(level)]; }
  GridPlace placeOfLevel(int level) const {
    return placeOf(levels.front().voxels, levels.front().voxelMm, gridOf(level).factor);
  }
  bool isCoarsest(int level) const { return level + 1 == static_cast<int>(levels.size()); }

  const MassPreservingOptions& options;
  const std::function<void(const MassPreservingProgress&)>& progress;
  std::vector<PyramidLevel> levels;
  std::vector<Images> images;
  std::vector<Volume<float>> weights;  // of the options, by resolution; none: all alike
  State now;
  PlaceTrust standingOut;  // by the last fit at the finest resolution
  MassPreservingResult result;
};

void Estimation::report(int level, int iteration, const LevelFit::Step& step,
                        const FitStatistics& at) {
  ++result.iterations;
  result.solverIterations += step.solverIterations;
  if (progress)
    progress({level, static_cast<int>(levels.size()), iteration, step.energy,
              std::sqrt(0.5 * at.noise.variance), at.noise.nu, at.roughnessWeight,
              at.degreesOfFreedom, step.largestStep, step.solverIterations});
}

// What a resolution starts from: the transport, or what the next coarser one found.
void Estimation::startLevel(int level, Head mode) {
  const glm::ivec3 voxels = gridOf(level).voxels;
  if (isCoarsest(level)) {
    const glm::dvec3 spacing = gridOf(level).voxelMm;
    now.b = options.start.size() > 0
                ? startOn(level)
                : transportStart<float>(imagesOf(level).first, imagesOf(level).second,
                                        spacing / spacing.y);
    now.statistics = {};
    startRatio();
    now.statistics.roughnessWeight = firstRoughnessWeight(spacing);
    now.head = {};
    if (mode == Head::moving) now.head.response.fill(Volume<float>(now.b.dimensions(), 0.0F));
    return;
  }
  const glm::ivec3 halved = gridOf(level + 1).halved;
  now.b = prolong(now.b, voxels, halved);
  now.statistics.noise = {};
  // Twice the voxels per displacement, in the square.
  now.statistics.roughnessWeight /= halved.y * halved.y;
  if (mode == Head::moving)
    for (Volume<float>& z : now.head.response) z = prolong(z, voxels, halved);
}

// The displacement that the options start from, on a resolution's edges.
Volume<float> Estimation::startOn(int level) const {
  Volume<float> map = options.start;
  limitStretch(map, static_cast<float>(largestStretch));
  for (int finer = 0; finer < level; ++finer) {
    const glm::ivec3 halved = gridOf(finer + 1).halved;
    map = coarsen(map, halved);
    map *= 1.0F / static_cast<float>(halved.y);
  }
  return voxelsToEdges(map);
}

// What the residuals of a resolution weigh: by the options and by their places.
Volume<float> Estimation::trustOn(int level) const {
  Volume<float> trust = weightsOn(level);
  if (now.trust.isWhole()) return trust;
  Volume<float> ofPlaces = now.trust.at(places(level), gridOf(level).voxels);
  return trust.size() > 0 ? std::move(trust *= ofPlaces) : ofPlaces;
}

void Estimation::fitLevel(int level, Head mode) {
  startLevel(level, mode);
  runLevel(level, mode);
}

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
  return with.ratioSpread > leastSpread &&
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

// Steps from the current displacement.
void Estimation::runLevel(int level, Head mode, Ratio ratio) {
  const Images& pair = imagesOf(level);
  const bool finest = level == 0;
  MassModel<float> model(pair.first, pair.second);
  std::optional<MovingPair> moving;
  if (mode == Head::moving) {
    moving.emplace(model, pair.first, pair.second, placeOfLevel(level));
    moving->hold(now.head.motion, now.b);
  }
  std::optional<RatioFit<float>> ratioFit;
  if (!now.model.isNone()) ratioFit.emplace(ratioBasis(level), now.ratio);
  LevelFit fit(model, gridOf(level).voxelMm, std::move(now.b), now.statistics,
               ratioFit ? &*ratioFit : nullptr, trustOn(level));
  if (options.startIsPrior && options.start.size() > 0) fit.setPriorMean(startOn(level));
  const int coarse =
      moving ? std::min(options.coarseIterations, mostMovingIterations) : options.coarseIterations;
  const int iterations = finest ? options.finestIterations : coarse;
  bool motionHeld = false;
  for (int i = 0; i < iterations; ++i) {
    const bool last = finest && i + 1 == iterations;
    const LevelFit::Step step = fit.step(solverTolerance, mostSolverIterations);
    bool settled = step.largestStep < smallestStep;
    // A ratio that may yet be left is looked for with the motion as it is.
    const bool asked = ratio == Ratio::inQuestion && i < firstRatioSteps;
    if (moving && !motionHeld && !asked && !(finest && i >= mostFinestMotionSteps)) {
      const MovingPair::Step moved =
          moving->step(fit, now.head, solverTolerance,
                       finest ? mostFinestMotionIterations : mostSolverIterations);
      result.solverIterations += moved.solverIterations;
      settled = settled && moved.largestVoxels < smallestMotion;
      motionHeld = moved.largestVoxels < heldMotion;
    }
    // Outliers are told apart in the second half of the finest resolution only: before, what is not
    // yet explained is not an outlier.
    const bool student = finest && i >= iterations / 2;
    // The coarser resolutions know enough of the ratio.
    const RatioEvidence evidence = finest ? RatioEvidence::kept : RatioEvidence::updated;
    if (!last) fit.updateStatistics(student ? NoiseTails::student : NoiseTails::normal, evidence);
    report(level, i, step, fit.statistics());
    const bool answered = asked && i + 1 == firstRatioSteps;
    if (settled || (answered && fit.ratioSpread() < leastFirstSpread)) break;
  }
  // Of a head that moved the misfit is also that of its motion.
  if (finest && mode == Head::still) standingOut = fit.placesOver(places(0), weightsOn(0));
  if (finest && options.uncertainty && isLastFit())
    result.deviationVoxels = fit.variance(posteriorDraws);
  now.b = fit.displacement();
  now.statistics = fit.statistics();
  if (ratioFit) now.ratio = ratioFit->knowledge();
  now.ratioSpread = fit.ratioSpread();
  if (level == 1) now.logLikelihood = fit.logLikelihood();
}

// Nodes that are an n-th of the longest edge of the volume apart, for a resolution's voxels.
CoarseGrid Estimation::nodesOver(int level, double cells) const {
  const PyramidLevel& own = levels.front();
  const glm::dvec3 extent = glm::dvec3(own.voxels) * own.voxelMm;
  const double longest = std::max({extent.x, extent.y, extent.z});
  return {gridOf(level).voxels, voxelPart(level), CoarseGrid::nodesFor(extent, longest / cells)};
}

// The places that may stand out: nodes as far apart as a sulcus or a sinus is wide, for a
// resolution's voxels.
CoarseGrid Estimation::places(int level) const {
  const PyramidLevel& own = levels.front();
  return {gridOf(level).voxels, voxelPart(level),
          CoarseGrid::nodesFor(glm::dvec3(own.voxels) * own.voxelMm, placeMm)};
}

RatioBasis<float> Estimation::ratioBasis(int level) const {
  return {gridOf(level).voxels,
          voxelPart(level),
          now.model.degree,
          now.model.contrast ? knotCount : 0,
          knotStep,
          nodesOver(level, levelCells)};
}

void Estimation::fitCoarse(Head mode) {
  for (int level = static_cast<int>(levels.size()) - 1; level > 0; --level) fitLevel(level, mode);
}

// The map where the head was in the first image, from that half way.
Volume<float> Estimation::seenByFirst(const Volume<float>& halfWay) const {
  Volume<float> map = MovedImage(halfWay, placeOfLevel(0)).through(now.head.motion.half());
  limitStretch(map, static_cast<float>(largestStretch));
  return map;
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
  const MassModel<float> model(pair.first, pair.second);
  std::optional<RatioFit<float>> ratioFit;
  if (!now.model.isNone()) ratioFit.emplace(ratioBasis(1), now.ratio);
  LevelFit fit(model, gridOf(1).voxelMm, now.b, now.statistics, ratioFit ? &*ratioFit : nullptr,
               trustOn(1));
  if (options.startIsPrior && options.start.size() > 0) fit.setPriorMean(startOn(1));
  const HeadMotion head = firstMotion(fit, pair.first, pair.second, placeOfLevel(1),
                                      solverTolerance, mostSolverIterations);
  return {pair.first, pair.second, fit.displacement(), head, placeOfLevel(1)};
}

// A ratio of intensities where a head that clearly moved needs one, too.
Estimation::MotionFit Estimation::ratioBeside(const MotionFit& moved) {
  now = moved.fit;
  if (!chooseRatio(Head::moving)) return moved;
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

// From the variance half way to the deviation where the head was in the first image.
void Estimation::finishDeviation() {
  Volume<float>& deviation = result.deviationVoxels;
  if (!now.head.motion.isNone())
    deviation = MovedImage(deviation, placeOfLevel(0)).through(now.head.motion.half());
  for (int i = 0; i < deviation.size(); ++i)
    deviation.data()[i] = std::sqrt(std::max(deviation.data()[i], 0.0F));
}

void Estimation::makeImages(const Volume<float>& first, const Volume<float>& second) {
  images.emplace_back(first, second);
  for (std::size_t l = 1; l < levels.size(); ++l)
    images.emplace_back(coarsen(images[l - 1].first, levels[l].halved),
                        coarsen(images[l - 1].second, levels[l].halved));
  if (options.weights.size() == 0) return;
  weights.push_back(options.weights);
  for (std::size_t l = 1; l < levels.size(); ++l)
    weights.push_back(coarsen(weights[l - 1], levels[l].halved));
}

MassPreservingResult Estimation::run(const Volume<float>& first, const Volume<float>& second,
                                     const glm::dvec3& voxelMm) {
  result.shiftVoxels = Volume<float>(first.dimensions(), 0.0F);
  if (options.uncertainty) result.deviationVoxels = result.shiftVoxels;
  const double signal1 = signalLevel(first), signal2 = signalLevel(second);
  if (!(signal1 > 0.0) || !(signal2 > 0.0)) return std::move(result);
  const double logScale =
      options.estimateScale ? logSignalRatio(first, second, options.weights) : 0.0;
  const double signal = std::sqrt(signal1) * std::sqrt(signal2);
  levels = makePyramid(first.dimensions(), voxelMm, fewestVoxels);
  // Half of the scale goes to each, so that exchanging the images changes nothing but signs.
  makeImages(scaledImage(first, std::exp(-0.5 * logScale) / signal),
             scaledImage(second, std::exp(0.5 * logScale) / signal));

  bool moved = fitAll();
  if (!isLastFit()) {
    now = State();
    now.trust = standingOut;
    moved = fitAll();
  }

  result.shiftVoxels = edgesToVoxels(now.b, largestStretch);
  if (moved) result.shiftVoxels = seenByFirst(result.shiftVoxels);
  if (options.uncertainty) finishDeviation();
  result.motion = now.head.motion;
  result.scale = std::exp(logScale);
  result.shading = now.model.degree > 0;
  result.contrast = now.model.contrast;
  result.ratioSpread = now.ratioSpread;
  result.shareOut = now.trust.shareOut();
  result.noiseSigma = std::sqrt(0.5 * now.statistics.noise.variance) * signal;
  result.noiseTails = now.statistics.noise.nu;
  result.roughnessWeight = now.statistics.roughnessWeight;
  result.degreesOfFreedom = now.statistics.degreesOfFreedom;
  return std::move(result);
}

}  // namespace

MassPreservingResult estimateMassPreserving(
    const Volume<float>& first, const Volume<float>& second, const glm::dvec3& voxelMm,
    const MassPreservingOptions& options,
    const std::function<void(const MassPreservingProgress&)>& progress) {
  if (first.dimensions() != second.dimensions())
    throw std::invalid_argument("the two images of a pair have different sizes");
  for (const Volume<float>* other : {&options.weights, &options.start})
    if (other->size() > 0 && other->dimensions() != first.dimensions())
      throw std::invalid_argument("weights or start have another size than the images");
  for (int axis = 0; axis < 3; ++axis)
    if (!(voxelMm[axis] > 0.0) || !std::isfinite(voxelMm[axis]))
      throw std::invalid_argument("a voxel edge is not a positive number");
  if (first.size() == 0) return {};
  return Estimation(options, progress).run(first, second, voxelMm);
}

Volume<float> secondUnmoved(const Volume<float>& second, const glm::dvec3& voxelMm,
                            const RigidMotion& motion, const Volume<float>& shiftVoxels) {
  if (second.dimensions() != shiftVoxels.dimensions())
    throw std::invalid_argument("image and map have different sizes");
  if (motion.isNone() || second.size() == 0) return second;
  const GridPlace place = placeOf(second.dimensions(), voxelMm, glm::ivec3(1));
  return MovedImage(second, place).unmoved(motion, voxelsToEdges(shiftVoxels), -1.0).image;
}

}  // namespace mirel

#include "masspreserving/estimation.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "masspreserving/intensityscale.h"
#include "masspreserving/massmodel.h"
#include "masspreserving/movedimage.h"
#include "masspreserving/transport.h"

namespace mirel {

namespace {
constexpr int fewestVoxels = 12;         // along an axis of the coarsest resolution
constexpr double largestStretch = 0.98;  // between voxels of the result

constexpr double smallestStep = 0.01;    // in voxels; steps below it end a resolution
constexpr double smallestMotion = 0.05;  // of the grid's farthest corner, in voxels
constexpr double heldMotion = 0.025;     // the same; a resolution's later steps leave it as it is
// Of the ratio of intensities: a function of the intensity relative to its level near by (nodes a
// sixth of the longest edge apart), up to three times that, and polynomials of the place.
constexpr int knotCount = 31;
constexpr double knotStep = 0.1;
constexpr double levelCells = 6.0;
constexpr double placeMm = 9.0;
// The motion needs fewer steps than the displacement, and its steps cost more.
constexpr int mostMovingIterations = 6;
// At the finest resolution the response to motion is taken from the next coarser one and improved.
constexpr int mostFinestMotionIterations = 3;
constexpr int mostFinestMotionSteps = 3;
constexpr int posteriorDraws = 16;
// At the finest resolution, with a roughness that varies from place to place.
constexpr int finishingSteps = 5;
constexpr int finishingMotionSteps = 2;

// The prior precision of the roughness before anything is known: gradients of a tenth of a voxel
// per voxel are ordinary.
double firstRoughnessWeight(glm::dvec3 spacingMm) {
  const double y = spacingMm.y * spacingMm.y;
  return 30.0 * y / (1.0 + 100.0 / y);
}
// A ratio that is there varies by half as much as in the end after two steps, and by this part of
// what it has to at the very least.
constexpr int firstRatioSteps = 2;
constexpr double leastFirstSpread = leastRatioSpread / 3.0;

}  // namespace

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
  now.b = prolong(now.b, voxels, halved, options.parallel);
  now.statistics.noise = {};
  // Twice the voxels per displacement, in the square.
  now.statistics.roughnessWeight /= halved.y * halved.y;
  if (mode == Head::moving)
    for (Volume<float>& z : now.head.response) z = prolong(z, voxels, halved, options.parallel);
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

Estimation::Work::Work(const Estimation& of, int level, Head mode, Volume<float> from)
    : model(of.imagesOf(level).first, of.imagesOf(level).second, of.options.parallel) {
  const State& state = of.now;
  if (mode == Head::moving) {
    moving.emplace(model, of.imagesOf(level).first, of.imagesOf(level).second,
                   of.placeOfLevel(level));
    moving->hold(state.head.motion, from);
  }
  if (!state.model.isNone()) ratio.emplace(of.ratioBasis(level), state.ratio);
  fit.emplace(model, of.gridOf(level).voxelMm, std::move(from), state.statistics,
              ratio ? &*ratio : nullptr, of.trustOn(level));
  if (moving) fit->setNoiseKept(moving->noiseKept());
  if (of.options.startIsPrior && of.options.start.size() > 0) fit->setPriorMean(of.startOn(level));
}

void Estimation::keep(const Work& work) {
  now.b = work.fit->displacement();
  now.statistics = work.fit->statistics();
  if (work.ratio) now.ratio = work.ratio->knowledge();
  now.ratioSpread = work.fit->ratioSpread();
}

// Steps from the current displacement.
void Estimation::runLevel(int level, Head mode, Ratio ratio) {
  const bool finest = level == 0;
  Work work(*this, level, mode, std::move(now.b));
  std::optional<MovingPair>& moving = work.moving;
  LevelFit& fit = *work.fit;
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
    if (moving) fit.setNoiseKept(moving->noiseKept());
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
  keep(work);
  if (level == 1) now.logLikelihood = fit.logLikelihood();
}

// The last steps. What a pair is told to be (its motion, ratio, places that stand out) is found
// before, with a roughness that is the same everywhere: one that follows the field also follows
// what spoils it.
void Estimation::finish(Head mode) {
  Work work(*this, 0, mode, std::move(now.b));
  LevelFit& fit = *work.fit;
  fit.bendLocally();
  fit.expectNoise();
  for (int i = 0; i < finishingSteps; ++i) {
    const LevelFit::Step step = fit.step(solverTolerance, mostSolverIterations);
    const bool moves = work.moving && i < finishingMotionSteps;
    if (moves)
      result.solverIterations +=
          work.moving->step(fit, now.head, solverTolerance, mostFinestMotionIterations)
              .solverIterations;
    if (work.moving) fit.setNoiseKept(work.moving->noiseKept());
    if (i + 1 < finishingSteps) fit.updateStatistics(NoiseTails::student, RatioEvidence::kept);
    report(0, options.finestIterations + i, step, fit.statistics());
    if (step.largestStep < smallestStep && !moves) break;
  }
  if (options.uncertainty) result.deviationVoxels = fit.variance(posteriorDraws);
  keep(work);
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
          nodesOver(level, levelCells),
          options.parallel};
}

void Estimation::fitCoarse(Head mode) {
  for (int level = static_cast<int>(levels.size()) - 1; level > 0; --level) fitLevel(level, mode);
}

// The map where the head was in the first image, from that half way.
Volume<float> Estimation::seenByFirst(const Volume<float>& halfWay) const {
  Volume<float> map =
      MovedImage(halfWay, placeOfLevel(0), options.parallel).through(now.head.motion.half());
  limitStretch(map, static_cast<float>(largestStretch));
  return map;
}

// From the variance half way to the deviation where the head was in the first image.
void Estimation::finishDeviation() {
  Volume<float>& deviation = result.deviationVoxels;
  if (!now.head.motion.isNone())
    deviation =
        MovedImage(deviation, placeOfLevel(0), options.parallel).through(now.head.motion.half());
  for (int i = 0; i < deviation.size(); ++i)
    deviation.data()[i] = std::sqrt(std::max(deviation.data()[i], 0.0F));
}

void Estimation::setImages(const Volume<float>& first, const Volume<float>& second) {
  logScale = options.estimateScale ? logSignalRatio(first, second, options.weights) : 0.0;
  signal = std::sqrt(signalLevel(first)) * std::sqrt(signalLevel(second));
  // Half of the scale goes to each, so that exchanging the images changes nothing but signs.
  makeImages(scaledImage(first, std::exp(-0.5 * logScale) / signal),
             scaledImage(second, std::exp(0.5 * logScale) / signal));
}

void Estimation::makeImages(const Volume<float>& first, const Volume<float>& second) {
  images.clear();
  images.emplace_back(first, second);
  for (std::size_t l = 1; l < levels.size(); ++l)
    images.emplace_back(coarsen(images[l - 1].first, levels[l].halved, options.parallel),
                        coarsen(images[l - 1].second, levels[l].halved, options.parallel));
  if (options.weights.size() == 0 || !weights.empty()) return;
  weights.push_back(options.weights);
  for (std::size_t l = 1; l < levels.size(); ++l)
    weights.push_back(coarsen(weights[l - 1], levels[l].halved));
}

MassPreservingResult Estimation::run(const Volume<float>& first, const Volume<float>& second,
                                     const glm::dvec3& voxelMm) {
  result.shiftVoxels = Volume<float>(first.dimensions(), 0.0F);
  if (options.uncertainty) result.deviationVoxels = result.shiftVoxels;
  if (!(signalLevel(first) > 0.0) || !(signalLevel(second) > 0.0)) return std::move(result);
  levels = makePyramid(first.dimensions(), voxelMm, fewestVoxels);
  setImages(first, second);
  chooseGhosts(first, second);

  bool moved = fitAll();
  while (!isLastFit()) {
    ++refits;
    now = State();
    now.trust = standingOut;
    moved = fitAll();
  }

  finish(moved ? Head::moving : Head::still);
  result.shiftVoxels = edgesToVoxels(now.b, largestStretch);
  if (moved) result.shiftVoxels = seenByFirst(result.shiftVoxels);
  if (options.uncertainty) finishDeviation();
  result.motion = now.head.motion;
  result.scale = std::exp(logScale);
  result.shading = now.model.degree > 0;
  result.contrast = now.model.contrast;
  result.ratioSpread = now.ratioSpread;
  result.shareOut = now.trust.shareOut();
  result.noiseOfSignal = std::sqrt(0.5 * now.statistics.noise.variance);
  result.noiseSigma = result.noiseOfSignal * signal;
  result.noiseTails = now.statistics.noise.nu;
  result.roughnessWeight = now.statistics.roughnessWeight;
  result.degreesOfFreedom = now.statistics.degreesOfFreedom;
  return std::move(result);
}

}  // namespace mirel

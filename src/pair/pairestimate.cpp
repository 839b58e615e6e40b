#include "pair/pairestimate.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <sstream>

#include "base/numbertext.h"
#include "base/threadpool.h"
#include "masspreserving/masspreserving.h"
#include "numerics/statistics.h"
#include "pair/agreement.h"
#include "pair/axischeck.h"
#include "pair/background.h"
#include "pair/correctedpair.h"
#include "pair/cutsignal.h"
#include "pair/estimateframe.h"
#include "pair/foreground.h"
#include "pair/pairmask.h"
#include "pair/readoutratio.h"
#include "pair/spikedpair.h"

namespace mirel {

namespace {

constexpr double nearlyNothing = 0.01, nearlyEverything = 0.9;
constexpr double leastOfHead = 0.1, mostCut = 0.5;  // of a mask

void requireUsable(const Volume<float>& map) {
  if (!isFinite(map))
    throw Error(
        "the estimate failed: the map of displacements is not finite everywhere (are these two "
        "images of one head?)");
}

// How far the mass-preserving estimate is. Its resolutions take about eight times as long each.
double doneAt(const MassPreservingProgress& state) {
  const double finished = std::pow(0.125, state.level);
  return finished * (state.iteration + 1) / (state.iteration + 2);
}

MassPreservingResult massPreserving(const PairInput& pair, const EstimateFrame& frame,
                                    const EstimateSettings& settings, const Parallel& parallel,
                                    Progress& progress) {
  MassPreservingOptions options;
  options.parallel = parallel;
  options.estimateMotion = settings.motion;
  options.uncertainty = settings.uncertainty;
  if (pair.mask) options.weights = frame.turned(pair.mask->weights);
  if (pair.start.size() > 0)
    options.start = frame.turned(toHalfWay(pair.start, partOfSecond(pair), pair.axis()));
  options.startIsPrior = pair.startIsPrior;
  // The coarse resolutions come a second time when motion is looked for.
  double done = 0.0;
  return estimateMassPreserving(frame.first(), frame.second(), frame.voxelMm(), options,
                                [&](const MassPreservingProgress& state) {
                                  done = std::max(done, doneAt(state));
                                  progress.at(Stage::estimating, done);
                                });
}

Volume<float> searchMap(const EstimateFrame& frame, double intensityScale,
                        const EstimateOptions& options, const ReportDone& done = {}) {
  const float scale = static_cast<float>(intensityScale);
  std::ostringstream log;
  return estimatePair(frame.first() * scale, frame.second() * scale, frame.voxelMm(), options, log,
                      done);
}

// A map along `axis`, and the second image of the head where it is in the first, if it moved.
struct Found {
  Volume<float> shift;
  std::optional<Volume<float>> unmovedSecond;
};

Found estimateBySearch(const PairInput& pair, const EstimateSettings& settings,
                       const PairEstimate& estimate, Progress& progress) {
  const EstimateFrame frame(pair, pair.axis(), OtherAxes::asStored);
  Volume<float> map = searchMap(frame, estimate.intensityScale, settings.search,
                                [&](double done) { progress.at(Stage::estimating, done); });
  requireUsable(map);
  return {frame.back(std::move(map)), {}};
}

Found estimateMap(const PairInput& pair, const EstimateSettings& settings, PairEstimate& estimate,
                  Progress& progress) {
  if (settings.estimator == Estimator::search)
    return estimateBySearch(pair, settings, estimate, progress);
  const EstimateFrame frame(pair, pair.axis(), OtherAxes::byPatient);
  ThreadPool pool(settings.threads);
  const Parallel parallel = pool.asParallel();
  MassPreservingResult result = massPreserving(pair, frame, settings, parallel, progress);
  requireUsable(result.shiftVoxels);
  estimate.intensityRatio = result.scale;
  estimate.shading = result.shading;
  estimate.contrast = result.contrast;
  estimate.intensityRatioSpread = result.ratioSpread;
  estimate.shareOut = result.shareOut;
  estimate.ghosts = result.ghosts;
  estimate.ghostsLeft = result.ghostsLeft;
  estimate.noiseOfSignal = result.noiseOfSignal;
  estimate.noiseTails = result.noiseTails;
  if (settings.uncertainty) estimate.deviation = frame.back(std::move(result.deviationVoxels));
  Found found;
  if (!result.motion.isNone()) {
    estimate.motion = frame.back(result.motion);
    found.unmovedSecond = frame.back(secondUnmoved(frame.second(), frame.voxelMm(), result.motion,
                                                   result.shiftVoxels, parallel));
  }
  found.shift = frame.back(std::move(result.shiftVoxels));
  return found;
}

// The other in-plane axis, by which the stated one is judged; for phase encoding across the
// slices it is j.
int otherAxisOf(int axis) { return axis == 1 ? 0 : 1; }

std::string sidecarsOf(const PairInput& pair) {
  const auto source = [](const InputImage& image) {
    const bids::StatedDirection& direction = *image.acquisition.direction;
    return direction.source == bids::StatedDirection::Source::sidecar
               ? direction.file
               : "the direction given for " + image.options.file;
  };
  return source(pair.a) + " and " + source(pair.b);
}

void doubtForeground(const PairInput& pair, const PairEstimate& estimate, Verdict& verdict) {
  const auto doubt = [&](const InputImage& image, double fraction) {
    if (fraction > nearlyNothing && fraction < nearlyEverything) return;
    verdict.add(Trust::doubtful,
                {text("%.3g", 100 * fraction) + " % of the voxels of " + image.title() +
                     " exceed the intensity " + text("%.4g", estimate.threshold) +
                     ", which is to separate head from air: nearly " +
                     (fraction < 0.5 ? "nothing" : "everything") + " counts as head",
                 Advice{Advice::Kind::seeIntensityScale}});
  };
  doubt(pair.a, estimate.foregroundA);
  doubt(pair.b, estimate.foregroundB);
}

void doubtMask(const PairInput& pair, const PairEstimate& estimate, Verdict& verdict) {
  if (!pair.mask) return;
  if (estimate.cutByMask > mostCut && !pair.startIsMap)
    verdict.add(Trust::doubtful,
                {"the mask " + pair.mask->stamp.fileName() + " cuts through " +
                 text("%.0f", 100 * estimate.cutByMask) +
                 " % of the head along the phase-encoding axis, as one of the brain does: what the "
                 "border of the head tells is lost, and the field is better without the mask, or "
                 "with one that leaves out only what is spoiled"});
  if (estimate.partOfHead >= leastOfHead) return;
  verdict.add(Trust::doubtful,
              {"the mask " + pair.mask->stamp.fileName() + " takes only " +
               text("%.2g", 100 * estimate.partOfHead) + " % of the head of " + pair.a.title()});
}

// What the border of a masked field does to the head around it nobody measured.
void doubtMaskedField(const PairInput& pair, const PairEstimate& estimate, Verdict& verdict) {
  if (!pair.startIsMap || estimate.withStart->shareOfZeros <= mostZeros) return;
  verdict.add(Trust::doubtful,
              "CHECK " + pair.startFile + ": it is 0 in " +
                  text("%.3g", 100 * estimate.withStart->shareOfZeros) +
                  " % of the head; if it was masked, the corrected images are torn at the mask's "
                  "border, and one that goes on outside of the brain is better");
}

// Takes what weights leave of a head; returns the part of its voxels.
double restrict(Volume<float>& head, const Volume<float>& weights) {
  const auto sum = [&] { return std::accumulate(head.data(), head.data() + head.size(), 0.0); };
  const double whole = sum();
  head *= weights;
  return whole > 0 ? sum() / whole : 0;
}

// `threshold` is that of the pair's mean; 0 when it has none.
void chooseScale(const PairInput& pair, const EstimateSettings& settings, double threshold,
                 PairEstimate& estimate) {
  estimate.intensityScale = settings.intensityScale;
  if (settings.intensityScale <= 0) {
    if (threshold <= 0)
      throw Error(
          "head and air cannot be told apart in " + pair.a.title() + " and " + pair.b.title(),
          {Advice::Kind::giveIntensityScale});
    estimate.intensityScale = estimatorThreshold / threshold;
  }
  estimate.threshold = estimatorThreshold / estimate.intensityScale;
  estimate.foregroundA = fractionAbove(pair.a.image, estimate.threshold);
  estimate.foregroundB = fractionAbove(pair.b.image, estimate.threshold);
}

// The pair less what was added to all of its images, if anything was; notes it.
std::optional<PairInput> withoutBackground(const PairInput& pair, PairEstimate& estimate) {
  if (estimate.estimator == Estimator::search) return std::nullopt;
  estimate.backgroundA = addedBackground(pair.a.image);
  estimate.backgroundB = addedBackground(pair.b.image);
  if (estimate.backgroundA == 0 && estimate.backgroundB == 0) return std::nullopt;
  PairInput lowered = pair;
  lowered.a.image -= static_cast<float>(estimate.backgroundA);
  lowered.b.image -= static_cast<float>(estimate.backgroundB);
  return lowered;
}

void addBackground(PairEstimate& estimate) {
  if (estimate.backgroundA != 0) estimate.correctedA += static_cast<float>(estimate.backgroundA);
  if (estimate.backgroundB != 0) estimate.correctedB += static_cast<float>(estimate.backgroundB);
}

// The images that are written in place of those that were judged.
void take(CorrectedPair&& written, const Volume<float>& head, PairEstimate& estimate) {
  estimate.otherMeanToCompare = std::move(estimate.mean);
  estimate.agreement.after = agreementOf(written.a, written.b, head);
  estimate.correctedA = std::move(written.a);
  estimate.correctedB = std::move(written.b);
  addBackground(estimate);
  estimate.mean = meanOf(estimate.correctedA, estimate.correctedB);
}

// Intensity of the first image over that of the second: as estimated, else by their sums in the
// head.
double ratioOf(const PairEstimate& estimate, const Volume<float>& first,
               const Volume<float>& second, const Volume<float>& head) {
  if (estimate.estimator == Estimator::massPreserving) return estimate.intensityRatio;
  double a = 0, b = 0;
  for (int i = 0; i < head.size(); ++i) {
    a += static_cast<double>(head.data()[i] * first.data()[i]);
    b += static_cast<double>(head.data()[i] * second.data()[i]);
  }
  return a > 0 && b > 0 ? a / b : 1.0;
}

// The axis along which the slices were acquired, as the sidecar, else the header says it.
int sliceAxisOf(const InputImage& image) {
  const auto& sidecar = image.acquisition.sidecar;
  const std::string stated = sidecar ? sidecar->json().textOf("SliceEncodingDirection") : "";
  const std::size_t axis = std::string("ijk").find(stated.substr(0, 1));
  if (!stated.empty() && axis != std::string::npos) return static_cast<int>(axis);
  const int ofHeader = image.header.slices.sliceAxis;
  return ofHeader >= 1 && ofHeader <= 3 ? ofHeader - 1 : 2;
}

const Volume<float>* weightsOf(const PairInput& pair) {
  return pair.mask ? &pair.mask->weights : nullptr;
}

// Where the head moved, from voxels of the first image to those of the second one as it came.
std::optional<glm::dmat4> toSecondOf(const PairInput& pair, const PairEstimate& estimate) {
  if (!estimate.motion) return std::nullopt;
  return voxelMotion(*estimate.motion, pair.b.header);
}

MapOrigin originOf(Estimator estimator) {
  switch (estimator) {
    case Estimator::massPreserving:
      return MapOrigin::massPreserving;
    case Estimator::none:
      return MapOrigin::measured;
    case Estimator::search:
      break;
  }
  return MapOrigin::search;
}

// Corrects the pair, of which the head has not moved, and finds how good that is.
void check(const PairInput& pair, Modulation modulation, const Volume<float>& head,
           PairEstimate& estimate, Progress& progress) {
  const int axis = pair.axis();
  const Volume<float>&first = pair.a.image, &second = pair.b.image;
  const Volume<float> opposite = estimate.shift * -1.0f,
                      ofSecond = mapOfSecond(pair, estimate.shift);
  const Volume<float> modulatedA = correctVolume(first, estimate.shift, axis, Modulation::on);
  const Volume<float> modulatedB = correctVolume(second, ofSecond, axis, Modulation::on);
  const bool on = modulation == Modulation::on;
  estimate.correctedA = on ? modulatedA : correctVolume(first, estimate.shift, axis, modulation);
  estimate.correctedB = on ? modulatedB : correctVolume(second, ofSecond, axis, modulation);

  progress.at(Stage::checking, 0.0);
  PairAgreement& agreement = estimate.agreement;
  agreement.after = agreementOf(estimate.correctedA, estimate.correctedB, head);
  agreement.modulated = agreementOf(modulatedA, modulatedB, head);
  agreement.negated = agreementThrough(opposite, ofSecond * -1.0f, axis, first, second, head);
  // The torn border of a masked field would count for its size.
  if (pair.startIsMap && estimate.withStart->shareOfZeros <= mostZeros)
    agreement.bestScale = bestFieldScale(first, second, estimate.shift, ofSecond, axis, head,
                                         agreement.modulated, pair.readoutSeconds);
  agreement.otherAxis = otherAxisOf(axis);
  const AxisAgreement axes =
      compareAxes(first, second, projectVoxelSize(pair.a.header), axis, agreement.otherAxis,
                  estimate.intensityScale, estimate.threshold, weightsOf(pair));
  agreement.fastAlongAxis = axes.along;
  agreement.fastAcross = axes.across;
  const PairFigures figures = measurePair(
      {first, second, modulatedA, modulatedB, estimate.shift, axis, projectVoxelSize(pair.a.header),
       ratioOf(estimate, modulatedA, modulatedB, head), estimate.threshold, pair.readoutSeconds,
       weightsOf(pair), sliceAxisOf(pair.a), toSecondOf(pair, estimate)});
  const PairNamesAndAxis names{pair.a.title(), pair.b.title(), sidecarsOf(pair),
                               nameOf(pair.a.direction()) + " and " + nameOf(pair.b.direction()),
                               pair.startFile};
  estimate.verdict = judgePair(figures, agreement, originOf(estimate.estimator), names);
  judgeNoise(estimate.noiseOfSignal, names, estimate.verdict);
  doubtForeground(pair, estimate, estimate.verdict);
  doubtMask(pair, estimate, estimate.verdict);
  // A head that moved brings what lay off the grid, which is 0, and is not cut by a mask.
  if (!estimate.motion && !pair.startIsMap)
    doubtOwnMasks(pair,
                  signalCutOff({first, modulatedA, estimate.shift}, {second, modulatedB, ofSecond},
                               ratioOf(estimate, modulatedA, modulatedB, head), axis),
                  estimate.verdict);
  doubtMaskedField(pair, estimate, estimate.verdict);
  progress.at(Stage::checking, 1.0);
}

// The map of the first image and its deviation; returns the second one where the head is in the
// first, if it moved.
std::optional<Volume<float>> estimateShift(const PairInput& pair, const EstimateSettings& settings,
                                           PairEstimate& estimate, Progress& progress) {
  progress.at(Stage::estimating, 0.0);
  Found found = estimateMap(pair, settings, estimate, progress);
  progress.at(Stage::estimating, 1.0);
  const double part = partOfSecond(pair);
  estimate.shift = fromHalfWay(found.shift, found.shift, part, pair.axis());
  if (estimate.deviation)
    estimate.deviation = fromHalfWay(*estimate.deviation, found.shift, part, pair.axis());
  return std::move(found.unmovedSecond);
}

PairEstimate estimateFrom(const PairInput& input, const EstimateSettings& settings,
                          const ChangeMap& change, Progress& progress) {
  PairEstimate estimate;
  estimate.estimator = settings.estimator;
  std::optional<PairInput> changed = withoutBackground(input, estimate);
  const PairInput& pair = changed ? *changed : input;
  const Volume<float> before = meanOf(pair.a.image, pair.b.image);
  const double threshold = headThreshold(before);
  chooseScale(pair, settings, threshold, estimate);
  Volume<float> head = headMask(before, threshold);
  if (pair.mask) {
    estimate.cutByMask = partInCutColumns(head, pair.mask->weights, pair.axis());
    estimate.partOfHead = restrict(head, pair.mask->weights);
  }
  estimate.agreement.before = agreementOf(pair.a.image, pair.b.image, head);
  std::optional<Volume<float>> unmovedSecond;
  if (settings.estimator == Estimator::none)
    estimate.shift = pair.start;
  else
    unmovedSecond = estimateShift(pair, settings, estimate, progress);
  if (change) change(estimate.shift, *estimate.deviation);
  if (pair.start.size() > 0)
    estimate.withStart = agreementWithStart(estimate.shift, pair.start, head);
  std::optional<CorrectedPair> written;
  if (settings.interpolation != InterpolationKernel::cubic)
    written = correctPairImages(
        pair, {estimate.shift, estimate.motion, settings.usedModulation(), settings.interpolation});
  // From here on the head has not moved.
  if (unmovedSecond) {
    if (!changed) changed = input;
    changed->b.image = std::move(*unmovedSecond);
  }
  check(changed ? *changed : input, settings.usedModulation(), head, estimate, progress);
  addBackground(estimate);
  estimate.mean = meanOf(estimate.correctedA, estimate.correctedB);
  if (written) take(std::move(*written), head, estimate);
  return estimate;
}

}  // namespace

std::string nameOf(Estimator estimator) {
  switch (estimator) {
    case Estimator::massPreserving:
      return "mass-preserving";
    case Estimator::none:
      return "none";
    case Estimator::search:
      break;
  }
  return "search";
}

PairEstimate estimatePairMap(const PairInput& input, const EstimateSettings& settings,
                             Progress& progress) {
  return estimatePairMap(input, settings, progress, {});
}

PairEstimate estimatePairMap(const PairInput& input, const EstimateSettings& settings,
                             Progress& progress, const ChangeMap& change) {
  const std::optional<PairInput> clean = pairWithoutSpikes(input);
  EstimateSettings used = settings;
  if (change) used.uncertainty = true;
  PairEstimate estimate = estimateFrom(clean ? *clean : input, used, change, progress);
  if (!settings.uncertainty || estimate.agreement.isOfOneImage()) estimate.deviation.reset();
  if (clean) correctWithSpikes(input, settings, estimate);
  return estimate;
}

}  // namespace mirel

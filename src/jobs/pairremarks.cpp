#include "jobs/pairremarks.h"

#include <cmath>
#include <glm/geometric.hpp>

#include "base/numbertext.h"
#include "bids/phaseencoding.h"
#include "pair/pairmask.h"

namespace mirel {

namespace {

constexpr double leastCorrelation = 0.5;  // of two fields of one head
constexpr double leastRatioTold = 0.005;  // of its logarithm's standard deviation: less is none
constexpr double mostOfContrast = 0.4;    // fluid four times as bright: 0.30; half an image: 0.44

// What the estimate allowed for, and what would be better than to allow for it.
void addRatioRemarks(RunRecord& run, const PairInput& pair, const PairEstimate& estimate) {
  const double spread = estimate.intensityRatioSpread;
  if (!(spread > leastRatioTold)) return;
  const std::string both = pair.a.title() + " and " + pair.b.title();
  const std::string by =
      " (by " + text("%.2g", 100 * spread) + " % beside their ratio), which was allowed for";
  if (spread > mostOfContrast)
    run.warnings.push_back(
        "the intensities of " + both + " differ from place to place by a factor of " +
        text(spread < std::log(10.0) ? "%.2g" : "%.0f", std::exp(spread)) +
        " beside their ratio, which is more than another contrast or shading makes: one of them "
        "may have lost its signal in a part of the image");
  else if (estimate.contrast)
    run.warnings.emplace_back(
        both + " differ in contrast" + by +
            ": the first volume of a series may be from before the steady state, and a later one "
            "of both is better",
        Advice{Advice::Kind::seeVolumes});
  else if (estimate.shading)
    run.notes.push_back("the brightness of " + both + " differs from place to place" + by);
}

// Said, since nothing else tells a wrong axis by its name.
void addUncheckedAxis(RunRecord& run, const PairInput& pair, const PairEstimate& estimate) {
  const PairAgreement& found = estimate.agreement;
  if (found.fastAlongAxis && found.fastAcross) return;
  run.notes.push_back("whether phase encoding of " + pair.a.title() + " and " + pair.b.title() +
                      " runs along " + bids::nameOf({pair.axis(), 1}) +
                      " could not be checked: the quick estimate along " +
                      bids::nameOf({found.fastAlongAxis ? found.otherAxis : pair.axis(), 1}) +
                      " failed, as it may where the field of view lies within the head");
}

// Not held against the result: elsewhere the map is as good as that of a whole pair.
void addPlacesLeftOut(RunRecord& run, const PairInput& pair, const PairEstimate& estimate) {
  if (estimate.shareOut <= 0) return;
  run.warnings.push_back(
      "in places that hold " + text("%.2g", 100 * estimate.shareOut) + " % of the signal " +
      pair.a.title() + " and " + pair.b.title() +
      " do not show the same: signal may be lost or fall on one place there in one of them; the "
      "map continues what is around these places");
}

// "A and B hold ghosts of themselves, half a field of view away (of 5 % and 4 %)"
std::string ghostsText(const PairInput& pair, const PairGhosts& ghosts) {
  const std::string first = text("%.2g %%", 100 * ghosts.first),
                    second = text("%.2g %%", 100 * ghosts.second),
                    away = ", half a field of view away (of ";
  if (ghosts.second == 0.0) return pair.a.title() + " holds a ghost of itself" + away + first + ")";
  if (ghosts.first == 0.0) return pair.b.title() + " holds a ghost of itself" + away + second + ")";
  return pair.a.title() + " and " + pair.b.title() + " hold ghosts of themselves" + away + first +
         " and " + second + ")";
}

void addGhosts(RunRecord& run, const PairInput& pair, const PairEstimate& estimate) {
  if (!estimate.ghosts.areNone())
    run.warnings.push_back(ghostsText(pair, estimate.ghosts) +
                           ": what of it was found was taken off for the estimate of the map, and "
                           "the corrected images still hold it");
  // The figures are those of docs/accuracy.md.
  if (!estimate.ghostsLeft.areNone())
    run.warnings.push_back(ghostsText(pair, estimate.ghostsLeft) +
                           ": found in the air and left in, since the head does not show its "
                           "phase; left in, ghosts of 5 to 10 % made the field of test heads 1.2 "
                           "to 4 times as inaccurate");
}

}  // namespace

void addMotionDoubt(RunRecord& run, const PairInput& pair, const PairEstimate& estimate) {
  if (!estimate.motion) return;
  run.warnings.push_back("the head moved between " + pair.a.title() + " and " + pair.b.title() +
                         " (by " + text("%.2g", glm::length(estimate.motion->translationMm)) +
                         " mm and " + text("%.2g", glm::length(estimate.motion->rotationDegrees)) +
                         " degrees): if it did so between the series that are joined, too, the "
                         "joined images are blurred, since their motion is not undone");
}

void addFieldFound(RunRecord& run, const PairInput& pair, const PairEstimate& estimate) {
  if (!pair.startIsMap) return;
  const PairAgreement& found = estimate.agreement;
  const double left = estimate.verdict.figures.unexplainedResidual();
  run.notes.push_back(
      "the field is that of " + pair.startFile + ", nothing was estimated: corrected by it " +
      pair.a.title() + " and " + pair.b.title() + " correlate by " + text("%.3f", found.modulated) +
      " in the head, as they came by " + text("%.3f", found.before) +
      ", and with the opposite sign by " + text("%.3f", found.negated) + "; they differ by " +
      (left > 0 ? text("%.3g", 100 * left) + " % beyond" : "no more than") +
      " noise (by an estimate from them, 16 % at most); motion of the head since it was "
      "measured, or between the images, was not "
      "looked for");
}

void addAgreement(RunRecord& run, const PairInput& pair, const PairEstimate& estimate,
                  const std::string& field) {
  if (!estimate.withStart || pair.startIsMap) return;
  const StartAgreement& with = *estimate.withStart;
  const std::string correlated = "(correlation " + text("%.2f", with.correlation) + ")";
  const double median = pair.a.direction().sign * with.median / *pair.readoutSeconds;
  run.notes.push_back("the field of the pair less that of " + field + " is " +
                      text("%.3g", median) + " Hz in the median, and within " +
                      text("%.3g", with.halfWidthOf95 / *pair.readoutSeconds) +
                      " Hz of that in 95 % of the head " + correlated);
  if (pair.startIsPrior && with.shareOfZeros > mostZeros)
    run.warnings.push_back(field + " is 0 in " + text("%.3g", 100 * with.shareOfZeros) +
                           " % of the head: if it was masked, the field of the pair has its edges "
                           "now; one that goes on outside of the brain is better");
  if (with.correlation >= leastCorrelation) return;
  run.warnings.push_back(
      field + " does not show the field that the pair has " + correlated + ": it may " +
      (with.correlation < -leastCorrelation ? "have the opposite sign"
                                            : "be of another head or session, or in other units"));
}

void addRemarks(RunRecord& run, const PairInput& pair, const PairEstimate& estimate) {
  run.notes = pair.notes;
  run.warnings.insert(run.warnings.begin(), pair.warnings.begin(), pair.warnings.end());
  const std::vector<Remark>& doubts = estimate.verdict.reasons;
  run.warnings.insert(run.warnings.end(), doubts.begin(), doubts.end());
  if (const auto doubt = doubtAboutBorder(pair, estimate.mean)) run.warnings.push_back(*doubt);
  addUncheckedAxis(run, pair, estimate);
  addRatioRemarks(run, pair, estimate);
  addPlacesLeftOut(run, pair, estimate);
  addGhosts(run, pair, estimate);
  if (estimate.motion)
    run.notes.push_back("the map and the field hold the distortion with the head where it was in " +
                        pair.a.title() + "; of " + pair.b.title() +
                        " its motion was undone as well, and its warp does the same" +
                        (pair.b.spikes.empty() ? ""
                                               : "; it was corrected without the voxels "
                                                 "that stand out"));
}

}  // namespace mirel

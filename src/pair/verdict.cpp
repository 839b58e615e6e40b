#include "pair/verdict.h"

#include <algorithm>
#include <cmath>

#include "base/joined.h"
#include "base/numbertext.h"
#include "bids/phaseencoding.h"
#include "numerics/statistics.h"

namespace mirel {

namespace {

/// Correlations that differ by less say nothing.
constexpr double decisive = 0.01;

// Between good pairs and bad ones: docs/correct.md has the figures of all.
constexpr double oneImage = 0.9999;  // correlation of the images as they came
constexpr double alike = 0.95, hardlyDisplaced = 0.05;
constexpr double doubtfulResidual = 0.16, largestResidual = 0.19;
constexpr double doubtfulOfField = 0.45;  // measured beside a pair: 0.30 and 0.38
constexpr double doubtfulTotals = 0.085, largestTotals = 0.12;
// What disagreement (1 - correlation) a field of the right size leaves of that of a wrong one, at
// most: 0.86 where the Siemens pair prefers 0.7 times the field measured beside it.
constexpr double muchLess = 0.6;
// A residual above the first is too much for a field rougher than that in Hz per mm.
constexpr double roughResidual = 0.15, roughHzPerMm = 1.9;
constexpr double doubtfulHz = 150;
constexpr double doubtfulNoise = 0.2;    // of the signal, per voxel and image
constexpr double leastTold = 0.0005;     // of a difference: 0.05 %
constexpr std::size_t fewestSlices = 8;  // to tell some from the others

constexpr const char* untrusted = ": do not trust this result";

std::string percent(double part) { return text("%.3g", 100 * part) + " %"; }

void judgeLikeness(const PairFigures& figures, const PairAgreement& found,
                   const PairNamesAndAxis& names, Verdict& verdict) {
  if (found.isOfOneImage())
    verdict.add(Trust::doNotTrust,
                names.second + " shows the same as " + names.first + " (correlation " +
                    text("%.5f", found.before) +
                    "): it is a copy, not an image with the opposite phase encoding" + untrusted);
  else if (found.before > alike && figures.shiftVoxels < hardlyDisplaced)
    verdict.add(Trust::doubtful, names.first + " and " + names.second +
                                     " hardly differ (correlation " + text("%.3f", found.before) +
                                     ", displacement " + text("%.3f", figures.shiftVoxels) +
                                     " voxels): they seem to have the same phase-encoding "
                                     "direction, or no distortion");
}

void judgeMap(const PairAgreement& found, Verdict& verdict) {
  if (found.negated > found.modulated + decisive)
    verdict.add(Trust::doNotTrust,
                "the opposite of the estimated map makes the images agree better (" +
                    text("%.3f", found.negated) + ") than the map itself (" +
                    text("%.3f", found.modulated) + ")" + untrusted);
  else if (found.modulated < found.before && !found.isOfOneImage())
    verdict.add(Trust::doNotTrust, "the corrected images agree less (" +
                                       text("%.3f", found.modulated) +
                                       ") than the images as they came (" +
                                       text("%.3f", found.before) + ")" + untrusted);
}

// Whether the images agree so much better by a multiple of a field that its size must be wrong.
bool hasWrongSize(const PairAgreement& found) {
  if (!found.bestScale || found.bestScale->factor == 1) return false;
  const double best = std::max(found.modulated, found.negated);
  return 1 - found.bestScale->agreement < muchLess * (1 - best);
}

// The same of a field that the images had no part in.
void judgeField(const PairAgreement& found, const PairNamesAndAxis& names, Verdict& verdict) {
  if (hasWrongSize(found))
    verdict.add(Trust::doNotTrust,
                "CHECK THE SIZE of " + names.field + ": taken " +
                    text("%.3g", found.bestScale->factor) + " times, " + names.first + " and " +
                    names.second + " agree better (correlation " +
                    text("%.3f", found.bestScale->agreement) + ") than by it as it is (" +
                    text("%.3f", found.modulated) +
                    "); its unit or a readout time may be another one" + untrusted);
  else if (found.negated > found.modulated + decisive && found.negated > found.before)
    verdict.add(Trust::doNotTrust, "CHECK THE SIGN of " + names.field + ", or in " +
                                       names.statedBy + ", which say " + names.directions +
                                       ": with the opposite sign of the field " + names.first +
                                       " and " + names.second + " agree better (correlation " +
                                       text("%.3f", found.negated) + ") than with it (" +
                                       text("%.3f", found.modulated) + ")" + untrusted);
  else if (found.modulated < found.before)
    verdict.add(Trust::doNotTrust,
                "CHECK " + names.field + ": corrected by it " + names.first + " and " +
                    names.second + " agree less (correlation " + text("%.3f", found.modulated) +
                    ") than as they came (" + text("%.3f", found.before) +
                    "); it may be of another head or session, or in other units" + untrusted);
}

// What it leaves of the images' difference, where nothing else was said of it.
void judgeFieldResidual(const PairFigures& figures, const PairNamesAndAxis& names,
                        Verdict& verdict) {
  const double residual = figures.unexplainedResidual();
  if (residual <= doubtfulOfField || verdict.trust != Trust::trusted) return;
  verdict.add(Trust::doubtful, "CHECK " + names.field + ": corrected by it " + names.first +
                                   " and " + names.second + " differ by " + percent(residual) +
                                   " beyond noise, where a field measured beside them leaves " +
                                   percent(doubtfulOfField) +
                                   " at most (the head may have moved since, or between the "
                                   "images)");
}

// A figure that is small in pairs of one head.
void judgeSize(double found, double doubtful, double largest, const std::string& what,
               Verdict& verdict) {
  if (found <= doubtful) return;
  const bool grave = found > largest;
  verdict.add(grave ? Trust::doNotTrust : Trust::doubtful,
              what + " differ by " + percent(found) +
                  " beyond noise, where those of one head differ by " + percent(doubtful) +
                  " at most (one may be mirrored, turned or of something else)" +
                  (grave ? untrusted : ""));
}

// The largest of a figure that goes with the slices' misfits.
double largestOf(const std::vector<double>& figure, const std::vector<std::size_t>& slices) {
  double most = 0;
  for (const std::size_t k : slices) most = std::max(most, figure[k]);
  return most;
}

double medianCounted(const PairFigures& figures) {
  std::vector<float> found;
  for (std::size_t k = 0; k < figures.sliceMisfits.size(); ++k)
    if (figures.sliceMisfits[k] > 0) found.push_back(static_cast<float>(figures.sliceResiduals[k]));
  return found.empty() ? 0 : static_cast<double>(quantile(found, 0.5));
}

// Slices whose residual is too large and whose misfit is far out of those of the others (beyond the
// outer fence of the logarithms, J. W. Tukey, Exploratory Data Analysis, 1977), where they hold
// most of what the images differ by: a slice at the rim of a good pair does not. The fence is one
// of misfits with their noise: beyond noise those of most slices may be 0.
std::vector<std::size_t> slicesFarOut(const PairFigures& figures) {
  std::vector<float> logs;
  for (const double misfit : figures.sliceMisfits)
    if (misfit > 0) logs.push_back(static_cast<float>(std::log(misfit)));
  if (logs.size() < fewestSlices) return {};
  const double low = static_cast<double>(quantile(logs, 0.25)),
               high = static_cast<double>(quantile(logs, 0.75));
  const double limit = std::exp(high + 3 * (high - low));
  std::vector<std::size_t> out;
  double share = 0;
  for (std::size_t k = 0; k < figures.sliceResiduals.size(); ++k) {
    if (!(figures.sliceMisfits[k] > limit && figures.sliceResiduals[k] > doubtfulResidual))
      continue;
    out.push_back(k);
    share += figures.sliceShares[k];
  }
  return share > 0.5 ? out : std::vector<std::size_t>();
}

// Those, and slices of which one image has lost the signal, however little of the head they hold.
void judgeSlices(const PairFigures& figures, const PairNamesAndAxis& names, Verdict& verdict) {
  std::vector<std::size_t> out = slicesFarOut(figures);
  std::string lost;
  const auto addLost = [&](const std::vector<int>& slices, const std::string& image) {
    if (slices.empty()) return;
    out.insert(out.end(), slices.begin(), slices.end());
    lost += (lost.empty() ? "" : ", ") + image + " has next to no signal in " +
            namedRanges("slice", slices);
  };
  addLost(figures.slicesLostByFirst, names.first);
  addLost(figures.slicesLostBySecond, names.second);
  if (out.empty()) return;
  std::sort(out.begin(), out.end());
  out.erase(std::unique(out.begin(), out.end()), out.end());
  const double middle = medianCounted(figures);
  verdict.add(Trust::doubtful,
              "in " + namedRanges("slice", out) + " (counted from 0" +
                  (figures.sliceAxis == 2 ? "" : " along " + bids::nameOf({figures.sliceAxis, 1})) +
                  ") " + names.first + " and " + names.second + ", corrected, differ by up to " +
                  percent(largestOf(figures.sliceResiduals, out)) +
                  " beyond noise, where the others differ by " +
                  (middle < leastTold ? "no more than noise" : percent(middle)) + ": " +
                  (lost.empty() ? "one of them may have lost signal there, or the head moved "
                                  "meanwhile"
                                : lost + ", where the other image has some: it was lost there, or "
                                         "the head moved meanwhile"));
}

void judgeSmoothness(const PairFigures& figures, Verdict& verdict) {
  if (!figures.fieldHz || !figures.fieldHzPerMm) return;
  const double residual = figures.unexplainedResidual();
  const bool rough = *figures.fieldHzPerMm > roughHzPerMm;
  if (rough && residual > roughResidual && residual <= largestResidual)
    verdict.add(Trust::doNotTrust,
                "the estimated field changes across the phase-encoding axis by " +
                    text("%.2g", *figures.fieldHzPerMm) +
                    " Hz per mm and the images still differ by " + percent(residual) +
                    " beyond noise: a field as rough as that would explain more of them" +
                    untrusted);
  if (*figures.fieldHz > doubtfulHz)
    verdict.add(Trust::doubtful, "the estimated field has a root mean square of " +
                                     text("%.0f", *figures.fieldHz) + " Hz in the head, where " +
                                     text("%.0f", doubtfulHz) + " Hz would be much");
}

void judgeAxis(const PairAgreement& found, const PairNamesAndAxis& names, Verdict& verdict) {
  if (!found.fastAcross || !found.fastAlongAxis) return;
  if (*found.fastAcross <= *found.fastAlongAxis + decisive) return;
  verdict.add(Trust::doNotTrust,
              "CHECK THE AXIS in " + names.statedBy + ": they say " + names.directions +
                  ", but the images differ as if phase encoding ran along " +
                  bids::nameOf({found.otherAxis, 1}) +
                  " (correlation of the pair after a quick estimate " +
                  text("%.3f", *found.fastAlongAxis) + " along the stated axis, " +
                  text("%.3f", *found.fastAcross) + " along the other)");
}

}  // namespace

std::string nameOf(Trust trust) {
  switch (trust) {
    case Trust::doNotTrust:
      return "do not trust";
    case Trust::doubtful:
      return "doubtful";
    case Trust::trusted:
      break;
  }
  return "trusted";
}

bool PairAgreement::isOfOneImage() const { return before > oneImage; }

void Verdict::add(Trust level, Remark reason) {
  trust = std::max(trust, level);
  reasons.push_back(std::move(reason));
}

Verdict judgePair(const PairFigures& figures, const PairAgreement& agreement, MapOrigin origin,
                  const PairNamesAndAxis& names) {
  Verdict verdict;
  verdict.figures = figures;
  judgeLikeness(figures, agreement, names, verdict);
  if (origin == MapOrigin::measured)
    judgeField(agreement, names, verdict);
  else
    judgeMap(agreement, verdict);
  const std::string both = names.first + " and " + names.second;
  judgeSize(
      figures.unexplainedTotals(), doubtfulTotals, largestTotals,
      "the totals along the phase-encoding axis, which distortion does not change, of " + both,
      verdict);
  if (origin == MapOrigin::measured) judgeFieldResidual(figures, names, verdict);
  if (origin == MapOrigin::massPreserving) {
    judgeSize(figures.unexplainedResidual(), doubtfulResidual, largestResidual,
              both + ", corrected,", verdict);
    judgeSlices(figures, names, verdict);
    judgeSmoothness(figures, verdict);
  }
  judgeAxis(agreement, names, verdict);
  return verdict;
}

void judgeNoise(double noiseOfSignal, const PairNamesAndAxis& names, Verdict& verdict) {
  if (noiseOfSignal <= doubtfulNoise) return;
  verdict.add(Trust::doubtful, names.first + " and " + names.second + " are noisy: by " +
                                   text("%.0f", 100 * noiseOfSignal) +
                                   " % of the signal at each voxel, where " +
                                   text("%.0f", 100 * doubtfulNoise) +
                                   " % would be much; the field is blurred, and farther off than "
                                   "its uncertainty tells");
}

}  // namespace mirel

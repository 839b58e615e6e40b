#include "report/verdictpart.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "base/numbertext.h"
#include "bids/phaseencoding.h"

namespace mirel::report {

namespace {

std::string percent(double share) { return text("%.1f", 100 * share) + " %"; }

// Noise may be estimated larger than what was found, so it is no part of it.
std::string besideNoise(double found, double ofNoise) {
  return percent(found) + "; noise alone makes " + percent(ofNoise);
}

Json figure(const std::string& what, const std::string& found, const std::string& meaning) {
  return {{"what", what}, {"found", found}, {"meaning", meaning}};
}

struct Words {
  const char* word;
  const char* level;
  const char* sentence;
};

Words wordsOf(Trust trust) {
  switch (trust) {
    case Trust::doNotTrust:
      return {"Do not trust", "bad", "The result was written, but it is not to be used as it is:"};
    case Trust::doubtful:
      return {"Look here", "look",
              "The result is doubtful; look at the pictures before it is used:"};
    case Trust::trusted:
      break;
  }
  return {"Trusted", "trusted", "Nothing that was measured speaks against this result."};
}

bool isOpposite(const SeriesRecord& series) {
  return series.signs && series.signs->verdict == SignCheck::Verdict::opposite;
}

Words wordsWithoutPair(const RunRecord& run) {
  if (std::any_of(run.series.begin(), run.series.end(), isOpposite))
    return {"Do not trust", "bad", "The opposite sign agrees better with the reference:"};
  if (!run.warnings.empty())
    return {"Look here", "look", "There are warnings; look at the pictures before this is used:"};
  return {"Corrected", "trusted",
          "A given field or map was applied; nothing that was measured speaks against it. How good "
          "the field itself is was not measured here."};
}

// Reasons of the pair, and whatever else was warned of.
std::vector<std::string> reasonsOf(const RunRecord& run) {
  std::vector<std::string> reasons;
  const auto add = [&reasons](const Remark& remark) {
    if (std::find(reasons.begin(), reasons.end(), remark.text) == reasons.end())
      reasons.push_back(remark.text);
  };
  if (run.pair)
    for (const Remark& reason : run.pair->findings.verdict.reasons) add(reason);
  else
    for (const Remark& warning : run.warnings) add(warning);
  if (run.pair)
    for (const SeriesRecord& series : run.series)
      if (isOpposite(series))
        for (const Remark& warning : series.warnings) add(warning);
  return reasons;
}

std::string vectorText(const glm::dvec3& v) {
  return text("%.2f", v.x) + ", " + text("%.2f", v.y) + ", " + text("%.2f", v.z);
}

void addAgreement(const PairRecord& pair, Json& figures) {
  const PairAgreement& found = pair.findings.agreement;
  const PairFigures& measured = pair.findings.verdict.figures;
  figures.push_back(
      figure("Agreement of the two images",
             text("%.3f", found.before) + " before, " + text("%.3f", found.after) + " after",
             "Correlation in the head, of the files as they came and as they were written; 1 is "
             "equality"));
  figures.push_back(figure(
      "Sign",
      text("%.3f", found.modulated) + "; with the opposite sign " + text("%.3f", found.negated),
      "The same correlation with the map and with its negative, both scaled by the Jacobian"));
  if (pair.start && pair.settings.estimator == Estimator::none)
    figures.push_back(figure("Field", std::filesystem::path(pair.start->file).filename().string(),
                             "Measured, not estimated from the images"));
  if (found.fastAcross && found.fastAlongAxis)
    figures.push_back(
        figure("Axis",
               text("%.3f", *found.fastAlongAxis) + " along " +
                   bids::nameOf({pair.a.direction().axis, 1}) + ", " +
                   text("%.3f", *found.fastAcross) + " along " + bids::nameOf({found.otherAxis, 1}),
               "Correlation after a quick estimate along the stated axis and another"));
  figures.push_back(figure("What is left of the difference",
                           besideNoise(measured.residual, measured.residualOfNoise),
                           "Root mean square difference of the corrected images in the head"));
  figures.push_back(figure("Signal in columns",
                           besideNoise(measured.columnTotals, measured.columnTotalsOfNoise),
                           "By how much the totals along the phase-encoding axis differ, which "
                           "distortion leaves as they are"));
}

std::string motionText(const PairRecord& pair) {
  if (!pair.settings.motion) return "not looked for";
  const std::optional<RigidMotion>& motion = pair.findings.motion;
  if (!motion) return "none found";
  return vectorText(motion->translationMm) + " mm; " + vectorText(motion->rotationDegrees) +
         " degrees";
}

void addMotion(const PairRecord& pair, Json& figures) {
  if (pair.findings.estimator != Estimator::massPreserving) return;
  figures.push_back(figure("Head motion between the images", motionText(pair),
                           "Along and about the axes i, j, k; undone in the second image"));
  figures.push_back(figure("Intensity of the first over the second",
                           text("%.4g", pair.findings.intensityRatio),
                           "1 where both have one scale"));
}

void addMap(const MeasuredMap& map, Json& figures) {
  const Displacement& d = map.displacement;
  const auto three = [&](double factor, const char* format) {
    return text(format, d.median * factor) + ", " + text(format, d.high * factor) + ", " +
           text(format, d.largest * factor);
  };
  const double hz = std::abs(map.hzPerVoxel.value_or(0));
  figures.push_back(figure("Displacement",
                           three(1, "%.2f") + " voxels; " + three(map.voxelMm, "%.2f") + " mm",
                           "Median, 99th percentile and largest in the head, without sign"));
  if (map.hzPerVoxel)
    figures.push_back(
        figure("Field", three(hz, "%.1f") + " Hz", "The same of the field, without sign"));
  figures.push_back(figure("Strong stretch", percent(d.stretched) + " of the head",
                           "Where the density of the signal changes by more than half"));
  figures.push_back(figure("Beyond repair", percent(d.folded) + " of the head",
                           "Where the map folds for one of the directions: signal of several "
                           "places lies on one"));
}

void addSigns(const RunRecord& run, Json& figures) {
  for (const SeriesRecord& series : run.series)
    if (series.signs)
      figures.push_back(figure("Sign of " + std::filesystem::path(series.file).filename().string(),
                               text("%.4f", series.signs->asGiven) + "; with the opposite sign " +
                                   text("%.4f", series.signs->opposite),
                               "Normalised mutual information with an undistorted image: 1 none, 2 "
                               "full"));
}

void addAlignments(const RunRecord& run, Json& figures) {
  for (const SeriesRecord& series : run.series) {
    if (!series.alignment || series.alignment->rounds == 0) continue;
    const AlignmentRecord& found = *series.alignment;
    figures.push_back(figure(
        "Head in " + std::filesystem::path(series.file).filename().string(),
        nameOf(found.outcome) + ", " + vectorText(found.fit.motion.translationMm) + " mm, " +
            vectorText(found.fit.motion.rotationDegrees) + " degrees",
        "The motion that was found, along and about x, y, z of the scanner, and whether the field "
        "was carried along with it"));
  }
}

void addMotionWithin(const RunRecord& run, Json& figures) {
  for (const SeriesRecord& series : run.series)
    if (series.motion)
      figures.push_back(
          figure("Motion within " + std::filesystem::path(series.file).filename().string(),
                 "up to " + text("%.2f", series.motion->largestMm) + " mm (volume " +
                     std::to_string(series.motion->largestVolume) + ")",
                 std::string(series.realignment ? "As it was found" : "As it was given") +
                     ", root mean square over a ball of 80 mm, against its reference"));
}

}  // namespace

Json verdictPart(const RunRecord& run) {
  Words words = run.pair ? wordsOf(run.pair->findings.verdict.trust) : wordsWithoutPair(run);
  const std::vector<std::string> reasons = reasonsOf(run);
  // A series may be wrong although the pair is right.
  if (run.pair && run.pair->findings.verdict.trust == Trust::trusted && !reasons.empty())
    words = {"Look here", "look", "The pair is right, but one of the series may not be:"};
  return {{"word", words.word},
          {"level", words.level},
          {"sentence", words.sentence},
          {"hasReasons", !reasons.empty()},
          {"reasons", Json(reasons)}};
}

Json figuresPart(const RunRecord& run, const std::optional<MeasuredMap>& map) {
  Json figures = Json::array();
  if (run.pair) addAgreement(*run.pair, figures);
  if (map) addMap(*map, figures);
  if (run.pair) addMotion(*run.pair, figures);
  addSigns(run, figures);
  addAlignments(run, figures);
  addMotionWithin(run, figures);
  return figures;
}

}  // namespace mirel::report

#include "cli/runtext.h"

#include <filesystem>

#include "base/numbertext.h"
#include "cli/advice.h"

namespace mirel {

namespace {

using Source = bids::StatedDirection::Source;

std::string three(const glm::dvec3& v) {
  return text("%.2f", v.x) + ", " + text("%.2f", v.y) + ", " + text("%.2f", v.z);
}

// A sidecar beside the image that a line is about needs no folder.
std::string shortName(const std::string& file, const std::string& image) {
  namespace fs = std::filesystem;
  return fs::path(file).parent_path() == fs::path(image).parent_path()
             ? fs::path(file).filename().string()
             : file;
}

std::string textOf(const bids::Acquisition& acquisition, const std::string& image) {
  const bids::StatedDirection& direction = *acquisition.direction;
  if (direction.source == Source::map)
    return "displaced along " + bids::nameOf({direction.value.axis, 1}) + " by " + direction.file;
  const std::string encoding = "phase encoding " + nameOf(direction.value);
  const std::string said =
      direction.file.empty() ? direction.sourceText() : shortName(direction.file, image);
  const auto& readout = acquisition.readout;
  if (!readout) return encoding + " (" + said + ")";
  const std::string time = "readout " + text(readout->seconds) + " s";
  if (readout->file == direction.file && !readout->file.empty())
    return encoding + ", " + time + " (" + nameOf(readout->source) + "), both from " + said;
  return encoding + " (" + said + "), " + time + " (" + nameOf(readout->source) +
         (readout->file.empty() ? "" : " in " + shortName(readout->file, image)) + ")";
}

std::string motionText(const std::optional<RigidMotion>& motion, bool lookedFor) {
  if (!lookedFor) return "Head motion between the images: not looked for (--no-motion)";
  if (!motion) return "Head motion between the images: none found";
  return "Head motion between the images: " + three(motion->translationMm) + " mm along and " +
         three(motion->rotationDegrees) + " degrees about i, j, k";
}

std::string verdictText(const Verdict& verdict) {
  switch (verdict.trust) {
    case Trust::doNotTrust:
      return "Verdict: do not trust this result (the warnings say why)\n";
    case Trust::doubtful:
      return "Verdict: doubtful (the warnings say why)\n";
    case Trust::trusted:
      break;
  }
  return "Verdict: nothing speaks against this result\n";
}

std::string textOf(const PairFindings& found, const EstimateSettings& settings) {
  std::string told = settings.estimator == Estimator::none
                         ? "Field: measured, not estimated (--field-source)\n"
                         : "";
  told += "Head above an intensity of " + text("%.4g", found.threshold) + " (intensity scale " +
          text("%.4g", found.intensityScale) + ", " + text("%.0f", 100 * found.foregroundA) +
          " and " + text("%.0f", 100 * found.foregroundB) + " % of the voxels)\n";
  if (found.backgroundA != 0 || found.backgroundB != 0)
    told += "Background taken off for the estimate: " + text("%.4g", found.backgroundA) + " and " +
            text("%.4g", found.backgroundB) + "\n";
  if (found.estimator == Estimator::massPreserving)
    told += "Intensity of the first image over that of the second: " +
            text("%.4g", found.intensityRatio) + "\n" + motionText(found.motion, settings.motion) +
            "\n";
  return told + "Correlation of the pair in the head: " + text("%.3f", found.agreement.before) +
         " before, " + text("%.3f", found.agreement.after) + " after, as written (" +
         (settings.usedModulation() == Modulation::on
              ? "modulated: signal that piled up is scaled back"
              : "not modulated: signal that piled up stays bright") +
         ")\n" + verdictText(found.verdict);
}

const char* interpolationText(InterpolationKernel kernel) {
  switch (kernel) {
    case InterpolationKernel::linear:
      return "Interpolation of the corrected images: linear\n";
    case InterpolationKernel::lanczos:
      return "Interpolation of the corrected images: Lanczos, 3 lobes\n";
    case InterpolationKernel::cubic:
      break;
  }
  return "Interpolation of the corrected images: cubic B-splines\n";
}

const char* sentenceOf(SignCheck::Verdict verdict) {
  switch (verdict) {
    case SignCheck::Verdict::right:
      return "the sign is right";
    case SignCheck::Verdict::opposite:
      return "the opposite sign agrees better";
    case SignCheck::Verdict::undecided:
      break;
  }
  return "no sign is clearly better";
}

std::string textOf(const SeriesRecord& series) {
  std::string text =
      series.file + ": " + counted(series.volumes, "volume") + ", " +
      textOf(series.acquisition, series.file) +
      (series.partner.empty() ? "" : ", joined with " + series.partner.front().file) +
      (series.resampledField ? ", field resampled to its grid" : "") +
      (series.mapFactor && *series.mapFactor < 0 ? ", map turned round" : "") + "\n";
  return text;
}

std::string alignmentText(const SeriesRecord& series, const std::string& since) {
  const AlignmentRecord& found = *series.alignment;
  const RigidMotion& motion = found.fit.motion;
  if (found.moved())
    return series.file + ": the head moved since " + since + ", by " + three(motion.translationMm) +
           " mm along and " + three(motion.rotationDegrees) +
           " degrees about x, y, z of the scanner; the field was carried along\n";
  if (found.outcome == AlignmentRecord::Outcome::notMoved)
    return series.file + ": the head is taken to be where it was in " + since + " (found " +
           text("%.2f", found.displacementMm) + " mm off" +
           (found.standardErrorMm
                ? ", with a standard error of " + text("%.2f", *found.standardErrorMm) + " mm"
                : "") +
           ")\n";
  return {};  // A warning or a note tells.
}

std::string motionText(const SeriesRecord& series) {
  const MotionRecord& motion = *series.motion;
  const SeriesMotion& told = motion.told;
  const std::string reference = told.referenceVolume
                                    ? "volume " + std::to_string(*told.referenceVolume)
                                : !told.referenceImage.empty() ? told.referenceImage
                                                               : "an image outside of the series";
  return series.file + ": the head is brought to its place in " + reference + " by " + told.file +
         " (" + nameOf(told.form) + "), by up to " + text("%.2f", motion.largestMm) +
         " mm (volume " + std::to_string(motion.largestVolume) + ")" +
         (motion.check.verdict == MotionCheck::Verdict::right
              ? ", and its volumes agree with one another so"
              : "") +
         "\n";
}

std::string realignmentText(const SeriesRecord& series) {
  const RealignmentRecord& found = *series.realignment;
  if (!found.notPossible.empty()) return {};  // A note tells.
  const std::string against = " against volume " + std::to_string(found.reference);
  const std::string of = std::to_string(found.compared.size()) + " volumes";
  if (!series.motion)
    return series.file + ": in none of " + of + " the head has moved" + against +
           " by more than could be chance\n";
  if (!found.across.empty())
    return series.file + ": in " + std::to_string(found.moved.size()) + " of " + of +
           " without gradients the head has moved" + against + ", " +
           std::to_string(found.across.size()) +
           " with gradients were aligned to it by themselves; of all, the head has moved by up "
           "to " +
           text("%.2f", series.motion->largestMm) + " mm (volume " +
           std::to_string(series.motion->largestVolume) + "), and is brought back there\n";
  return series.file + ": in " + std::to_string(found.moved.size()) + " of " + of +
         " the head has moved" + against + ", by up to " + text("%.2f", series.motion->largestMm) +
         " mm (volume " + std::to_string(series.motion->largestVolume) +
         "); it is brought back there\n";
}

std::string signText(const SeriesRecord& series) {
  return series.file + ": normalised mutual information with the reference (1 none, 2 full) " +
         text("%.4f", series.signs->asGiven) + ", with the opposite sign " +
         text("%.4f", series.signs->opposite) + ": " + sentenceOf(series.signs->verdict) + "\n";
}

}  // namespace

std::string textOf(const RunRecord& run) {
  std::string text;
  if (run.pair) {
    for (const ImageDescription* image : {&run.pair->a, &run.pair->b})
      text += image->title() + ": " + textOf(image->acquisition, image->options.file) + "\n";
    text += textOf(run.pair->findings, run.pair->settings);
  }
  if (run.pair || !run.series.empty()) text += interpolationText(run.seriesSettings.interpolation);
  for (const SeriesRecord& series : run.series) {
    text += textOf(series);
    if (series.alignment) text += alignmentText(series, run.pair ? "the pair" : "the reference");
    if (series.realignment)
      text += realignmentText(series);
    else if (series.motion)
      text += motionText(series);
    // With a pair the reference is its own corrected mean, and a doubt is a warning or a note.
    if (!run.pair && series.signs) text += signText(series);
  }
  for (const Remark& note : run.notes) text += "Note: " + sentenceOf(note) + "\n";
  return text;
}

}  // namespace mirel

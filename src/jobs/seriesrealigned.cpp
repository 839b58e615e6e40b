#include "jobs/seriesrealigned.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "base/error.h"
#include "base/joined.h"
#include "base/numbertext.h"
#include "jobs/seriescorrection.h"
#include "jobs/seriesmoved.h"
#include "motion/credible.h"
#include "motion/motionbetween.h"
#include "motion/realignment.h"
#include "motion/scannertransforms.h"
#include "nifti/filename.h"
#include "nifti/gradients.h"
#include "nifti/image.h"

namespace mirel {

namespace {

std::string namedVolumes(const std::vector<int>& volumes) {
  return (volumes.size() == 1 ? "volume " : "volumes ") + rangesOf(volumes);
}

std::string unlikeSentence(const std::string& in, const std::vector<int>& volumes, int reference) {
  const bool one = volumes.size() == 1;
  return namedVolumes(volumes) + " of " + in + (one ? " resembles" : " resemble") + " volume " +
         std::to_string(reference) +
         " much less than most do, also with the motion that was found: " + (one ? "it" : "they") +
         " may be spoiled (by shading, or motion while it was taken), and what was found may be no "
         "motion of the head";
}

SeriesToRealign seriesOf(const SeriesInput& input, const Volume<float>& shift, int threads,
                         const std::vector<int>& volumes, Progress& progress) {
  const std::string subject = std::filesystem::path(input.file).filename().string();
  const DistortedPlace place{gridOf(input.header), shift, input.acquisition.direction->value.axis};
  SeriesToRealign series{input.file, place, volumes, backgroundOf(input), threads};
  // What takes most of the time, correcting, is still to come.
  series.done = [&progress, subject](double) { progress.at(Stage::correcting, 0.0, subject); };
  return series;
}

RealignmentRecord recordOf(const Realignment& realignment) {
  RealignmentRecord record;
  record.reference = realignment.reference;
  record.notPossible = realignment.notPossible;
  record.unlike = unlikeVolumes(realignment);
  for (const RealignedVolume& one : realignment.volumes) {
    record.compared.push_back(one.volume);
    if (one.outcome == RealignedVolume::Outcome::moved) record.moved.push_back(one.volume);
    if (one.outcome == RealignedVolume::Outcome::uncertain) record.uncertain.push_back(one.volume);
    if (one.outcome == RealignedVolume::Outcome::refused)
      record.refused.push_back({one.volume, one.reason});
  }
  return record;
}

// Of all volumes, as far as they are compared with the reference.
std::vector<glm::dmat4> motionsOf(const Realignment& realignment, const SeriesInput& input) {
  std::vector<KnownMotion> known;
  for (const RealignedVolume& one : realignment.volumes)
    if (one.outcome != RealignedVolume::Outcome::refused) known.push_back({one.volume, one.motion});
  std::vector<glm::dmat4> motions =
      motionsBetween(input.header.volumes, known, middleOf(gridOf(input.header)));
  for (const RealignedVolume& one : realignment.volumes)
    motions[static_cast<std::size_t>(one.volume)] = one.motion;
  return motions;
}

// Those that cannot be aligned keep the motion between others.
void alignWeighted(const SeriesToRealign& series, RealignmentRecord& record,
                   std::vector<glm::dmat4>& motions) {
  std::vector<glm::dmat4> starts;
  for (const int t : series.like) starts.push_back(motions[static_cast<std::size_t>(t)]);
  const auto found = realignAcross(series, record.reference, starts);
  record.weightedToo = true;
  record.between.clear();
  for (std::size_t n = 0; n < series.like.size(); ++n) {
    (found[n] ? record.across : record.between).push_back(series.like[n]);
    if (found[n]) motions[static_cast<std::size_t>(series.like[n])] = *found[n];
  }
}

// Why there is nothing to compare, of a series in which `unweighted` volumes have no gradients;
// empty: there is.
std::string whyNotPossible(const SeriesInput& input, std::size_t unweighted, bool weightedToo) {
  if (input.header.volumes == 1) return "it has one volume";
  const bool hasTable =
      std::any_of(input.gradientFiles.begin(), input.gradientFiles.end(),
                  [](const FileStamp& file) { return file.fileName().ends_with(".bval"); });
  if (!hasTable && nifti::niftiStem(input.file).ends_with("dwi"))
    return "no .bval beside it tells which of its volumes have diffusion gradients, and those "
           "cannot be compared with the others";
  if (unweighted < 2)
    return std::string("fewer than two volumes have no gradients") +
           (weightedToo ? ", from whose motion that of the others would be looked for" : "");
  return {};
}

}  // namespace

RealignmentRecord realignSeries(const Volume<float>& shift, const SeriesSettings& settings,
                                const std::string& file, Progress& progress, SeriesInput& input) {
  const std::vector<int> weighted = weightedVolumes(input);
  std::vector<int> like;
  for (int t = 0; t < input.header.volumes; ++t)
    if (!std::binary_search(weighted.begin(), weighted.end(), t)) like.push_back(t);
  const std::optional<int> reference = input.motion ? input.motion->referenceVolume : std::nullopt;
  input.motion.reset();
  RealignmentRecord record;
  record.notPossible = whyNotPossible(input, like.size(), settings.realignWeighted);
  if (!record.notPossible.empty()) return record;
  SeriesToRealign series = seriesOf(input, shift, settings.threads, like, progress);
  series.reference = reference;
  const Realignment realignment = realign(series);
  record = recordOf(realignment);
  if (!record.notPossible.empty()) return record;
  record.between = weighted;
  SeriesMotion motion;
  motion.fromReference = motionsOf(realignment, input);
  if (settings.realignWeighted && !weighted.empty())
    alignWeighted(seriesOf(input, shift, settings.threads, weighted, progress), record,
                  motion.fromReference);
  if (std::all_of(motion.fromReference.begin(), motion.fromReference.end(),
                  [](const glm::dmat4& m) { return m == glm::dmat4(1.0); }))
    return record;
  motion.form = MotionForm::found;
  motion.file = file;
  motion.referenceVolume = record.reference;
  input.motion = std::move(motion);
  return record;
}

void tellOfRealignment(const SeriesInput& input, SeriesRecord& record, std::vector<Remark>& notes) {
  const RealignmentRecord& found = *record.realignment;
  if (!found.notPossible.empty()) {
    notes.push_back("no motion was looked for within " + input.file + ", since " +
                    found.notPossible);
    return;
  }
  std::map<std::string, std::vector<int>> byReason;
  for (const RealignmentRecord::Refused& one : found.refused)
    byReason[one.reason].push_back(one.volume);
  for (const auto& [reason, volumes] : byReason)
    record.warnings.push_back("the motion that was found for " + namedVolumes(volumes) + " of " +
                              input.file + " is not credible, since " + reason +
                              ": the head is taken to be at its place in volume " +
                              std::to_string(found.reference));
  if (!found.uncertain.empty())
    record.warnings.push_back(
        "whether the head has moved in " + namedVolumes(found.uncertain) + " of " + input.file +
        " cannot be told: half a millimetre or more was found against volume " +
        std::to_string(found.reference) +
        ", which could be chance, as with another contrast: it is left where it is");
  if (!found.unlike.empty())
    record.warnings.push_back(unlikeSentence(input.file, found.unlike, found.reference));
  if (found.between.empty()) return;
  const std::string instead =
      ": they get the motion between that of the volumes without gradients before and after them";
  if (found.weightedToo)
    notes.push_back("no credible motion was found for " + namedVolumes(found.between) + " of " +
                    input.file + " with diffusion gradients" + instead);
  else
    notes.push_back("the volumes of " + input.file +
                    " with diffusion gradients (b > 100 s/mm^2) are not realigned themselves" +
                    instead);
}

std::string motionText(const SeriesInput& input) {
  const std::vector<glm::dmat4> still(static_cast<std::size_t>(input.header.volumes),
                                      glm::dmat4(1.0));
  return formatItkTransforms(input.motion ? input.motion->fromReference : still);
}

std::string turnedDirections(const std::string& table, const std::string& series,
                             const std::string& motionFile) {
  const nifti::Reader image(series);
  const int volumes = image.header().volumes;
  SeriesMotion motion;
  motion.fromReference = readItkTransforms(motionFile);
  if (motion.fromReference.size() != static_cast<std::size_t>(volumes))
    throw Error(motionFile, "has " + counted(motion.fromReference.size(), "transform") + ", but " +
                                series + " has " + counted(volumes, "volume"));
  nifti::GradientTable turned;
  turned.directions =
      directionsInHead(nifti::readDirections(table, volumes), motion, image.header().affine());
  return nifti::formatDirections(turned);
}

}  // namespace mirel

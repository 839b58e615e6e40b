#include "jobs/seriesmoved.h"

#include <algorithm>
#include <iterator>
#include <numeric>

#include "base/joined.h"
#include "base/numbertext.h"
#include "field/movedcorrector.h"
#include "field/seriesparts.h"
#include "motion/credible.h"
#include "motion/headoutside.h"
#include "nifti/gradients.h"
#include "nifti/image.h"
#include "pair/foreground.h"

namespace mirel {

namespace {

constexpr double largestPartOutside = 0.01;
// Less is not worth a word where images cannot tell.
constexpr double worthANoteMm = 0.5;
// Between runs of a session heads rarely move so far.
constexpr double doubtfulMm = 5;

double displacementOf(const SeriesInput& input, int volume) {
  return displacementMm(input.motion->fromReference[static_cast<std::size_t>(volume)],
                        gridOf(input.header));
}

std::string informationText(double one, double asGiven) {
  return " (normalised mutual information " + text("%.4f", one) + ", with the motion as given " +
         text("%.4f", asGiven) + ")";
}

void tellOfCheck(const SeriesInput& input, const MotionCheck& check, SeriesRecord& record,
                 std::vector<Remark>& notes) {
  using Verdict = MotionCheck::Verdict;
  const std::string& file = input.motion->file;
  std::vector<int> volumes = check.volumes;
  std::sort(volumes.begin(), volumes.end());
  const bool one = volumes.size() == 1;
  const std::string which = (one ? "volume " : "volumes ") + rangesOf(volumes) + " of " +
                            input.file + (one ? " agrees" : " agree") + " better with volume " +
                            std::to_string(check.against);
  if (check.verdict == Verdict::opposite)
    record.warnings.push_back("CHECK THE MOTION in " + file + ": " + which +
                              " when moved the opposite way" +
                              informationText(check.opposite, check.asGiven));
  if (check.verdict == Verdict::unmoved)
    record.warnings.push_back("CHECK THE MOTION in " + file + ": " + which +
                              (one ? " when left where it is" : " when left where they are") +
                              informationText(check.unmoved, check.asGiven));
  if (check.verdict == Verdict::undecided && check.largestMm >= worthANoteMm)
    notes.push_back("the motion in " + file + " could not be checked: with it, with its opposite " +
                    "and without it the volumes of " + input.file + " agree about as well");
}

// The volumes among one another do not tell where the reference is.
void tellOfReference(const SeriesInput& input, SeriesRecord& record) {
  double least = displacementOf(input, 0);
  for (int t = 1; t < input.header.volumes; ++t) least = std::min(least, displacementOf(input, t));
  if (least > doubtfulMm)
    record.warnings.push_back(
        input.motion->file + " displaces every volume of " + input.file + " by " +
        text("%.2g", least) +
        " mm or more: is the reference of its motion the one that was meant?");
}

void tellOfOutside(const SeriesInput& input, const Volume<float>& corrected, SeriesRecord& record) {
  const double threshold = headThreshold(corrected);
  Volume<unsigned char> head(corrected.dimensions());
  for (int n = 0; n < corrected.size(); ++n)
    head.data()[n] = static_cast<double>(corrected.data()[n]) > threshold;
  const HeadOutside outside = headOutside(head, *input.motion, gridOf(input.header),
                                          input.acquisition.direction->value.axis);
  if (outside.part <= largestPartOutside) return;
  record.warnings.push_back(text("%.0f %%", 100 * outside.part) + " of the head in volume " +
                            std::to_string(outside.volume) + " of " + input.file +
                            ", by its motion, lies outside of what was measured: 0 is written "
                            "there (of all volumes that is the most)");
}

// What was refused is at no known place.
std::vector<int> atKnownPlaces(std::vector<int> volumes, const SeriesRecord& record) {
  if (!record.realignment) return volumes;
  for (const RealignmentRecord::Refused& one : record.realignment->refused)
    std::erase(volumes, one.volume);
  return volumes;
}

}  // namespace

std::vector<int> likeVolumes(const SeriesInput& input) {
  const std::vector<int> weighted = weightedVolumes(input);
  std::vector<int> all(static_cast<std::size_t>(input.header.volumes)), like;
  std::iota(all.begin(), all.end(), 0);
  std::set_difference(all.begin(), all.end(), weighted.begin(), weighted.end(),
                      std::back_inserter(like));
  return like.empty() ? all : like;
}

std::vector<int> weightedVolumes(const SeriesInput& input) {
  std::vector<int> weighted;
  for (const FileStamp& table : input.gradientFiles) {
    if (!table.fileName().ends_with(".bval")) continue;
    const std::vector<float> b = nifti::readBValues(table.fileName(), input.header.volumes);
    for (int t = 0; t < input.header.volumes; ++t)
      if (!(b[static_cast<std::size_t>(t)] <= nifti::greatestUnweighted)) weighted.push_back(t);
  }
  return weighted;
}

Volume<float> meanInPlace(const SeriesInput& input, const std::vector<int>& like,
                          std::size_t most) {
  std::vector<int> chosen = like;
  std::stable_sort(chosen.begin(), chosen.end(), [&](int a, int b) {
    return displacementOf(input, a) < displacementOf(input, b);
  });
  chosen.resize(std::min(chosen.size(), most));
  std::sort(chosen.begin(), chosen.end());
  const std::vector<glm::dmat4> moved = voxelMotions(*input.motion, input.header.affine());
  const Volume<float> none(input.header.dims, 0.0f);
  const MovedCorrector back(none, input.acquisition.direction->value.axis, Modulation::off);
  MovedCorrector::Scratch scratch;
  nifti::Reader reader(input.file);
  MeanOfVolumes mean(input.header.dims, static_cast<int>(chosen.size()));
  Volume<float> volume, placed;
  for (const int t : chosen) {
    reader.readVolume(t, volume);
    replaceNonFinite(volume);
    back.correct(volume, moved[static_cast<std::size_t>(t)], placed, scratch);
    mean.add(placed);
  }
  return mean.value();
}

void judgeMotion(const SeriesInput& input, const Volume<float>& shift,
                 const Volume<float>& corrected, SeriesRecord& record, std::vector<Remark>& notes) {
  MotionRecord motion{*input.motion, 0, 0, {}};
  for (int t = 0; t < input.header.volumes; ++t)
    if (const double mm = displacementOf(input, t); mm > motion.largestMm) {
      motion.largestMm = mm;
      motion.largestVolume = t;
    }
  tellOfReference(input, record);
  motion.check =
      checkMotion({input.file, gridOf(input.header), atKnownPlaces(likeVolumes(input), record),
                   shift, input.acquisition.direction->value.axis, record.background},
                  *input.motion);
  tellOfCheck(input, motion.check, record, notes);
  tellOfOutside(input, corrected, record);
  for (const FileStamp& file : input.motion->stamps) file.requireUnchanged();
  record.motion = std::move(motion);
}

}  // namespace mirel

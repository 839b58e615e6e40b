#include "jobs/seriesalignment.h"

#include "field/foundmotion.h"

namespace mirel {

namespace {

using Outcome = AlignmentRecord::Outcome;

constexpr int mostRounds = 10;
constexpr double settledMm = 0.03;

PlacedImage correctedFor(const UnalignedSeries& series, const RigidMotion& motion,
                         glm::dvec3 centreMm) {
  const Volume<float> shift =
      series.shiftOn(motion.isNone() ? series.grid : beforeMotion(series.grid, motion, centreMm));
  return {correctVolume(series.mean, shift, series.axis, series.modulation), series.grid.affine,
          series.name};
}

void refuse(AlignmentRecord& record, const std::string& reason) {
  record.outcome = Outcome::refused;
  record.reason = reason;
}

void judge(const RigidAligner& aligner, const PlacedImage& corrected, AlignmentRecord& record) {
  const FoundMotion found = judgedMotion(aligner, corrected, record.fit);
  record.standardErrorMm = found.standardErrorMm;
  if (found.outcome == FoundMotion::Outcome::refused)
    refuse(record, found.reason);
  else if (found.outcome == FoundMotion::Outcome::moved)
    record.outcome = Outcome::moved;
}

}  // namespace

std::string nameOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::moved:
      return "moved";
    case Outcome::refused:
      return "refused";
    case Outcome::notPossible:
      return "not possible";
    case Outcome::notMoved:
      break;
  }
  return "not moved";
}

AlignmentRecord alignSeries(const RigidAligner& aligner, const UnalignedSeries& series) {
  AlignmentRecord record;
  record.centreMm = aligner.centreMm();
  if (!aligner.canCompare()) {
    record.outcome = Outcome::notPossible;
    record.reason = "too few voxels show the head";
    return record;
  }
  while (record.rounds < mostRounds) {
    const RigidMotion before = record.fit.motion;
    const PlacedImage corrected = correctedFor(series, before, record.centreMm);
    record.fit = aligner.align(corrected, before,
                               record.rounds == 0 ? AlignmentRange::wide : AlignmentRange::nearby);
    ++record.rounds;
    record.displacementMm = aligner.distanceMm(record.fit.motion, {});
    if (!(aligner.distanceMm(record.fit.motion, before) < settledMm)) continue;
    judge(aligner, corrected, record);
    return record;
  }
  refuse(record, "aligning and correcting in turn comes to no end");
  return record;
}

}  // namespace mirel

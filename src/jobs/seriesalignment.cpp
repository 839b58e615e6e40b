#include "jobs/seriesalignment.h"

#include <algorithm>
#include <glm/geometric.hpp>

#include "base/numbertext.h"
#include "nifti/orientation.h"

namespace mirel {

namespace {

using Outcome = AlignmentRecord::Outcome;

constexpr std::size_t fewestSamples = 1000;
constexpr int mostRounds = 10;
constexpr double settledMm = 0.03;
// Twice the largest motion that is found of simulated heads that did not move (docs/accuracy.md).
constexpr double leastDisplacementVoxels = 1.0 / 16;
constexpr double leastStandardErrors = 4;
constexpr double largestStandardErrorMm = 1;
constexpr double leastCovered = 0.3;

PlacedImage correctedFor(const UnalignedSeries& series, const RigidMotion& motion,
                         glm::dvec3 centreMm) {
  const Volume<float> shift =
      series.shiftOn(motion.isNone() ? series.grid : beforeMotion(series.grid, motion, centreMm));
  return {correctVolume(series.mean, shift, series.axis, series.modulation), series.grid.affine,
          series.name};
}

// Why a motion cannot be that of the head; empty: it can.
std::string doubtAbout(const AlignmentFit& fit) {
  const double mm = glm::length(fit.motion.translationMm),
               degrees = turnedDegrees(fit.motion.rotation());
  if (mm > farthestHeadMm || degrees > farthestHeadDegrees)
    return "the head would have moved by " + text("%.0f", mm) + " mm and turned by " +
           text("%.0f", degrees) + " degrees";
  if (fit.covered < leastCovered)
    return "only " + text("%.0f", 100 * fit.covered) + " % of the head would lie in the series";
  return {};
}

void refuse(AlignmentRecord& record, const std::string& reason) {
  record.outcome = Outcome::refused;
  record.reason = reason;
}

void judge(const RigidAligner& aligner, const PlacedImage& corrected, AlignmentRecord& record) {
  const glm::dvec3 edges = nifti::columnLengths(corrected.affine);
  if (record.displacementMm < leastDisplacementVoxels * std::max({edges.x, edges.y, edges.z}))
    return;
  if (const std::string doubt = doubtAbout(record.fit); !doubt.empty())
    return refuse(record, doubt);
  const double error = aligner.standardErrorMm(corrected, record.fit.motion);
  record.standardErrorMm = error;
  if (error > largestStandardErrorMm)
    refuse(record, "parts of the head tell different motions, by " + text("%.2g", error) + " mm");
  else if (record.displacementMm > leastStandardErrors * error)
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
  if (aligner.sampleCount() < fewestSamples) {
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

#include "motion/realignment.h"

#include <algorithm>
#include <cmath>

#include "base/numbertext.h"
#include "field/inorder.h"
#include "motion/acrosscontrasts.h"
#include "motion/credible.h"
#include "motion/referencevolume.h"
#include "nifti/image.h"
#include "nifti/orientation.h"
#include "numerics/rigidmotion.h"

namespace mirel {

namespace {

using Outcome = RealignedVolume::Outcome;

// A still head's volumes come nowhere near (docs/accuracy.md).
constexpr double leastVoxels = 0.01;
constexpr double leastStandardErrors = 3;
constexpr double largestStandardErrorMm = 1;
constexpr double worthAWordMm = 0.5;
constexpr double leastCorrelation = 0.5;
constexpr double leastCovered = 0.3;
// Between slices of 10 mm interpolation makes 0.005 of a head that moved by 3 mm.
constexpr double unlikeTimes = 4, unlikeBeyond = 0.01;

// Why it can be no motion of the head; empty: it can.
std::string doubtAbout(const VolumeFit& fit, const Grid& grid) {
  if (!(fit.correlation >= leastCorrelation)) return "it does not resemble the reference";
  if (!fit.converged) return "its search comes to no end";
  if (const std::string fault = faultOfMotion(fit.motion, grid); !fault.empty())
    return "what was found " + fault;
  if (fit.covered < leastCovered)
    return "only " + text("%.0f", 100 * fit.covered) + " % of the head would lie in it";
  if (!(fit.standardErrorMm <= largestStandardErrorMm))
    return "parts of the head tell different motions, by more than 1 mm";
  return {};
}

}  // namespace

RealignedVolume judgedFit(const VolumeFit& fit, const Grid& grid) {
  RealignedVolume found;
  found.displacementMm = displacementMm(fit.motion, grid);
  found.standardErrorMm = fit.standardErrorMm;
  found.correlation = fit.correlation;
  found.reason = doubtAbout(fit, grid);
  const glm::dvec3 edges = nifti::columnLengths(grid.affine);
  const double least = std::max(leastVoxels * std::max({edges.x, edges.y, edges.z}),
                                leastStandardErrors * fit.standardErrorMm);
  if (!found.reason.empty())
    found.outcome = Outcome::refused;
  else if (found.displacementMm >= least)
    found.outcome = Outcome::moved;
  else if (found.displacementMm >= worthAWordMm)
    found.outcome = Outcome::uncertain;
  if (found.outcome == Outcome::moved) found.motion = fit.motion;
  return found;
}

std::vector<int> unlikeVolumes(const Realignment& realignment) {
  std::vector<double> lacking;
  for (const RealignedVolume& one : realignment.volumes)
    if (one.volume != realignment.reference && one.outcome != Outcome::refused)
      lacking.push_back(1 - one.correlation);
  if (lacking.empty()) return {};
  const auto middle = lacking.begin() + static_cast<std::ptrdiff_t>((lacking.size() - 1) / 2);
  std::nth_element(lacking.begin(), middle, lacking.end());
  const double most = std::max(unlikeTimes * *middle, *middle + unlikeBeyond);
  std::vector<int> unlike;
  for (const RealignedVolume& one : realignment.volumes)
    if ((one.outcome == Outcome::moved || one.outcome == Outcome::notMoved) &&
        1 - one.correlation > most)
      unlike.push_back(one.volume);
  return unlike;
}

Realignment realign(const SeriesToRealign& series) {
  Realignment found;
  nifti::Reader reader(series.file);
  found.reference = series.reference ? *series.reference : referenceVolume(series);
  const VolumeAligner aligner(
      comparableVolume(reader.readVolume(found.reference), series.background), series.place,
      series.file);
  if (!aligner.canCompare()) {
    found.notPossible = "too few voxels, or too few slices, show the head";
    return found;
  }
  struct Buffers {
    Volume<float> volume;
    VolumeAligner::Scratch scratch;
    RealignedVolume found;
  };
  inOrder<Buffers>(
      static_cast<int>(series.like.size()), series.threads,
      [&](int n, Buffers& buffers) {
        const int volume = series.like[static_cast<std::size_t>(n)];
        reader.readVolume(volume, buffers.volume);
        buffers.found.volume = volume;
      },
      [&](Buffers& buffers) {
        const int volume = buffers.found.volume;
        buffers.found = {};
        if (volume != found.reference)
          buffers.found = judgedFit(
              aligner.align(comparableVolume(std::move(buffers.volume), series.background),
                            buffers.scratch),
              series.place.grid);
        buffers.found.volume = volume;
      },
      [&](int n, const Buffers& buffers) {
        found.volumes.push_back(buffers.found);
        if (series.done) series.done((n + 1.0) / static_cast<double>(series.like.size()));
      });
  return found;
}

std::vector<std::optional<glm::dmat4>> realignAcross(const SeriesToRealign& series, int reference,
                                                     const std::vector<glm::dmat4>& starts) {
  nifti::Reader reader(series.file);
  const AcrossContrasts aligner(comparableVolume(reader.readVolume(reference), series.background),
                                series.place, series.file);
  std::vector<std::optional<glm::dmat4>> found;
  for (std::size_t n = 0; n < series.like.size(); ++n) {
    found.push_back(aligner.align(
        comparableVolume(reader.readVolume(series.like[n]), series.background), starts[n]));
    if (series.done)
      series.done(static_cast<double>(n + 1) / static_cast<double>(series.like.size()));
  }
  return found;
}

}  // namespace mirel

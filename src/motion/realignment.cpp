#include "motion/realignment.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "base/numbertext.h"
#include "field/inorder.h"
#include "field/seriesparts.h"
#include "motion/acrosscontrasts.h"
#include "motion/credible.h"
#include "nifti/image.h"
#include "nifti/orientation.h"
#include "numerics/rigidmotion.h"
#include "numerics/spikes.h"

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

double differenceOf(const Volume<float>& a, const Volume<float>& b) {
  double sum = 0;
  for (int n = 0; n < a.size(); ++n)
    sum += std::fabs(static_cast<double>(a.data()[n]) - static_cast<double>(b.data()[n]));
  return sum;
}

// A volume as it is compared.
Volume<float> prepared(Volume<float> volume, double background) {
  replaceNonFinite(volume);
  return withoutSpikes(std::move(volume)) - static_cast<float>(background);
}

}  // namespace

RealignedVolume judgedFit(const VolumeFit& fit, const Grid& grid) {
  RealignedVolume found;
  found.displacementMm = displacementMm(fit.motion, grid);
  found.standardErrorMm = fit.standardErrorMm;
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

int typicalVolume(const std::string& file, const std::vector<int>& like, int threads) {
  nifti::Reader reader(file);
  const Volume<float> mean = meanOfVolumes(file, like);
  struct Buffers {
    Volume<float> volume;
    double difference = 0;
  };
  int typical = like.front();
  double least = std::numeric_limits<double>::infinity();
  inOrder<Buffers>(
      static_cast<int>(like.size()), threads,
      [&](int n, Buffers& buffers) {
        reader.readVolume(like[static_cast<std::size_t>(n)], buffers.volume);
      },
      [&](Buffers& buffers) {
        replaceNonFinite(buffers.volume);
        buffers.difference = differenceOf(buffers.volume, mean);
      },
      [&](int n, const Buffers& buffers) {
        if (!(buffers.difference < least)) return;
        least = buffers.difference;
        typical = like[static_cast<std::size_t>(n)];
      });
  return typical;
}

Realignment realign(const SeriesToRealign& series) {
  Realignment found;
  nifti::Reader reader(series.file);
  found.reference = series.reference ? *series.reference
                                     : typicalVolume(series.file, series.like, series.threads);
  const VolumeAligner aligner(prepared(reader.readVolume(found.reference), series.background),
                              series.place, series.file);
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
          buffers.found =
              judgedFit(aligner.align(prepared(std::move(buffers.volume), series.background),
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
  const AcrossContrasts aligner(prepared(reader.readVolume(reference), series.background),
                                series.place, series.file);
  std::vector<std::optional<glm::dmat4>> found;
  for (std::size_t n = 0; n < series.like.size(); ++n) {
    found.push_back(
        aligner.align(prepared(reader.readVolume(series.like[n]), series.background), starts[n]));
    if (series.done)
      series.done(static_cast<double>(n + 1) / static_cast<double>(series.like.size()));
  }
  return found;
}

}  // namespace mirel

#pragma once

#include <cstdint>

#include "field/corrector.h"
#include "restore/pairrestorer.h"

namespace mirel {

/// What stands where two images contradict each other. An error of their field moves them to
/// opposite sides, which their mean mostly cancels and least squares does not: so where these leave
/// more of the images than their noise, the joined image goes over to the mean of both, corrected
/// with modulation:
///
///   joined <- a joined + (1 - a) mean,   a = min(1, (t / m)^4),   t = 1.6 (1 + (0.01 mean)^2 / v)
///
/// m being the misfit (PairRestorer::Scratch), averaged over a voxel and its 26 neighbours, and v
/// the mean of the noise's variances: besides it a hundredth of the signal is no contradiction, as
/// far as columns within voxels are known. Exponent and thresholds were chosen on simulated heads
/// (docs/accuracy.md).
class Contradiction {
 public:
  /// The shifts are those of the PairRestorer, and outlive the object.
  Contradiction(const Volume<float>& firstShift, const Volume<float>& secondShift, int axis,
                const RestoreWeights& weights);

  /// Memory of one worker, used again from volume to volume.
  struct Scratch {
    Corrector::Scratch corrector;
    Volume<float> first, second, around;
  };

  /// Of the images that were joined.
  /// @returns the number of voxels of the head that are nearer to the mean than to what was joined.
  std::int64_t replaceWithMean(const Volume<float>& first, const Volume<float>& second,
                               const Volume<float>& misfit, Volume<float>& joined,
                               Scratch& scratch) const;

 private:
  Corrector firstCorrector, secondCorrector;
  double variance, head;
};

/// The mean of each voxel and its neighbours, 26 inside and fewer at borders.
void averageAround(const Volume<float>& image, Volume<float>& result);

}  // namespace mirel

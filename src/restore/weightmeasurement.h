#pragma once

#include <vector>

#include "field/corrector.h"
#include "restore/pairrestorer.h"

namespace mirel {

/// Measures from volumes of two series what PairRestorer wants to know of their intensities.
///
///   noise      the median of |d| / (6 * 0.6745) in the head of an acquired volume, d being the
///              second difference along x of the second difference along y, of which 6 is the gain
///              for white noise; edges along either axis leave it alone. (J. Immerkaer, Comput.
///              Vis. Image Underst. 64:300, 1996; the median in place of the mean.)
///   roughness  the mean product of the second differences of both corrected volumes along the
///              phase-encoding axis in the head: noise, which differs, cancels out. Eddy currents
///              may move the volumes against each other, which takes it away: it is at least a
///              quarter of that of the acquired volumes by themselves less the noise's, piled-up
///              signal being rougher.
///   head       headThreshold of the mean of the acquired volumes
///
/// Of several volumes the medians count. Variances that differ by less than a third are taken for
/// equal. The roughness is at least a fiftieth of the variances, each of these a millionth of it.
class WeightMeasurement {
 public:
  /// As for PairRestorer; the shifts outlive the object.
  WeightMeasurement(const Volume<float>& firstShift, const Volume<float>& secondShift, int axis);

  /// Acquired volumes without added background and without values that are not finite.
  void add(const Volume<float>& first, const Volume<float>& second);

  /// Those of a blank series where nothing that was added shows a head.
  RestoreWeights weights() const;

 private:
  int axis;
  Corrector firstCorrector, secondCorrector;
  Corrector::Scratch scratch;
  std::vector<float> firstVariances, secondVariances, roughness, heads;
};

}  // namespace mirel

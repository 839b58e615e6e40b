#pragma once

#include <cstddef>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// A volume of several that show one head at one place.
struct AlignedVolume {
  Volume<float> image;
  /// Where it was measured: 1, elsewhere 0. Empty: everywhere.
  Volume<float> covered = {};
  /// Variance that interpolation left of its noise.
  double noiseLeft = 1;

  bool covers(int voxel) const { return covered.size() == 0 || covered.data()[voxel] != 0; }
};

/// How one of several volumes agrees with the others.
struct VolumeAgreement {
  double gain = 1;  ///< its intensity over that of the middle of all
  /// How much each slice (along k) counts, 0 to 1: 1 but for slices that differ.
  std::vector<double> weights;
  double share = 1;  ///< mean of the weights, each with the signal of its slice

  bool isWhole() const { return share == 1; }
};

/// The weighted mean of volumes, each divided by its gain, that covers all that one of them does;
/// where nothing counts, the value of `fallback`.
Volume<float> weightedMean(const std::vector<AlignedVolume>& volumes,
                           const std::vector<VolumeAgreement>& agreements, std::size_t fallback);

/// The mean of volumes as they are, added up in double in their order.
Volume<float> plainMean(const std::vector<AlignedVolume>& volumes);

}  // namespace mirel

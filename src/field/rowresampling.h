#pragma once

#include <vector>

#include "containers/volume.h"
#include "numerics/interpolationkernel.h"

namespace mirel {

/// Resampling along y through a map, by a kernel whose weights are of the samples:
///
///   result(x, y, z) = image(x, y + shift(x, y, z), z)
///
/// Positions and sums are formed in double, and narrowed to float. Workers share one object.
class RowResampling {
 public:
  /// With lanczos it takes 56 bytes per voxel for the weights, which all volumes have in common.
  /// Errors  std::logic_error for the cubic kernel.
  RowResampling(const Volume<float>& shift, InterpolationKernel kernel);

  /// `shift` is that of the constructor; `image` and `result`, which are not the same, have its
  /// dimensions.
  void resample(const Volume<float>& image, const Volume<float>& shift,
                Volume<float>& result) const;

 private:
  std::vector<RowTaps> tabulated;  ///< of every voxel; empty: linear ones, which are quick to form
};

}  // namespace mirel

#pragma once

#include <glm/mat4x4.hpp>
#include <vector>

#include "field/corrector.h"

namespace mirel {

/// Correction of volumes in which the head is elsewhere than where the map knows it: motion and
/// distortion are taken out in one interpolation. Workers share one object.
///
/// The field is taken to move with the head, so that the shift at a voxel of the result is that of
/// the same tissue in every volume. With m from voxels of the result to where their tissue is in a
/// volume, in voxels of the volume before the distortion,
///
///   result(v) = volume(m v + shift(v) e)     e: one voxel along the volume's encoded axis.
///
/// With modulation it is multiplied by the density change along that axis, which the tissue sees
/// at another angle when the head has turned (M: the 3 x 3 part of m):
///
///   1 + d shift / de = 1 + grad shift(v) . (M^-1 e),     less than 0: 0.
class MovedCorrector {
 public:
  /// `shift`: as for Corrector; it outlives the object.
  MovedCorrector(const Volume<float>& shift, int axis, Modulation modulation,
                 InterpolationKernel kernel = InterpolationKernel::cubic);
  MovedCorrector(Volume<float>&&, int, Modulation,
                 InterpolationKernel = InterpolationKernel::cubic) = delete;

  /// Memory of one worker, used again from volume to volume.
  struct Scratch {
    std::vector<double> coefficients, x, y, z, values;
  };

  /// The kernel along all three axes, computed in double: cubic B-splines, or weighted samples
  /// (interpolatedAt). Along the encoded axis values decay to 0 within two voxels beyond the
  /// borders, of weighted samples within one, as they do without motion; along the others the
  /// border's value holds for half a voxel, and what lies farther out was not measured: it is 0.
  /// Where nothing moved weighted samples give Corrector's bits, without modulation.
  /// Voxels of `image` that are not finite must have been replaced.
  /// Errors  std::logic_error for other dimensions, or a matrix that is not finite or singular.
  void correct(const Volume<float>& image, const glm::dmat4& toVolume, Volume<float>& result,
               Scratch& scratch) const;

 private:
  void placeSlice(int z, const glm::dmat4& toVolume, Scratch& scratch) const;
  void evaluateSlice(const Volume<float>& image, Scratch& scratch) const;
  void modulate(const glm::dmat4& toVolume, Volume<float>& result) const;

  const Volume<float>& shift;
  int axis;
  InterpolationKernel kernel;
  std::vector<Volume<float>> slopes;  ///< along i, j, k; none without modulation
};

/// Whether a position in voxels along an axis of n was measured, or is nearest to what was.
inline bool isMeasured(double coordinate, int n) {
  return coordinate >= -0.5 && coordinate <= n - 0.5;
}

}  // namespace mirel

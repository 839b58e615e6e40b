#pragma once

#include <cstdint>
#include <optional>

#include "containers/exchange.h"
#include "containers/volume.h"
#include "field/rowresampling.h"
#include "numerics/interpolationkernel.h"

/// Correction of single volumes along any axis.
namespace mirel {

/// 1 + d shift/dy: half the difference of both neighbours, at the first and last row the whole
/// difference to the only one; 1 where there is one row. Negative values (the map folds there:
/// no image corresponds to it) count as 0.
///
/// The shift runs along y. @param folded  the number of voxels that were negative.
Volume<float> jacobianAlongY(const Volume<float>& shift, std::int64_t* folded = nullptr);

/// Whether intensities are multiplied by the Jacobian.
enum class Modulation { off, on };

/// What all volumes of a series have in common: the map and, with modulation, its Jacobian,
/// with the phase-encoding axis as y. Workers share one object.
class Corrector {
 public:
  /// `shift` has the image's dimensions; voxels along `axis`, applied forward. It outlives the
  /// object.
  Corrector(const Volume<float>& shift, int axis, Modulation modulation,
            InterpolationKernel kernel = InterpolationKernel::cubic);
  Corrector(Volume<float>&&, int, Modulation,
            InterpolationKernel = InterpolationKernel::cubic) = delete;

  /// Memory of one worker, used again from volume to volume.
  struct Scratch {
    Volume<float> in, out;
  };

  /// result(y) = image(y + shift(y)) [* Jacobian(y)], by the kernel along the axis: the engine's
  /// cubic spline, whose values decay to 0 within two voxels beyond the borders, or weighted
  /// samples (RowResampling), whose values do so within one. Voxels of `image` that are not
  /// finite must have been replaced. Throws std::logic_error for other dimensions.
  void correct(const Volume<float>& image, Volume<float>& result, Scratch& scratch) const;

  std::int64_t foldedVoxels() const { return folded; }

 private:
  int axis;
  AlongY<float> shift;
  std::optional<RowResampling> weighted;  ///< nothing: the spline
  Volume<float> jacobian;
  std::int64_t folded = 0;
};

/// One volume, the same bits as a series of it.
Volume<float> correctVolume(const Volume<float>& image, const Volume<float>& shift, int axis,
                            Modulation modulation,
                            InterpolationKernel kernel = InterpolationKernel::cubic);

}  // namespace mirel

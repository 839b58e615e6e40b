#pragma once

#include "containers/volume.h"
#include "phantom/distort.h"
#include "phantom/object.h"

namespace mirel {

/// A map with steeper ones would nearly fold. Leaves room for what the cubic interpolation of the
/// shift overshoots between voxel centres.
inline constexpr double steepestShift = 0.8;

/// What the field of a phantom shall do to an image.
struct FieldGoal {
  double readoutSeconds;    ///< total readout time: shift in voxels = field in Hz * readout
  double maxShiftVoxels;    ///< largest |shift| in the head
  double maxShiftGradient;  ///< bound of |shift(i + 1) - shift(i)| along `axis`; infinite: none
  PhaseEncodingAxis axis;
};

/// The field of a head in Hz, known also somewhat beyond the grid.
class HeadField {
 public:
  HeadField(Volume<double> extended, glm::ivec3 beyond, PhantomGrid onGrid, double smoothing)
      : extendedHz(std::move(extended)), margin(beyond), grid(onGrid), sigmaMm(smoothing) {}

  /// On the grid after a motion of the head, which takes its field along. Cubic interpolation;
  /// without motion the values themselves.
  Volume<float> hz(const RigidMotion& motion = {}) const;

  /// Standard deviation of the Gaussian that the field was smoothed with.
  double smoothingMm() const { return sigmaMm; }

 private:
  double cubicAt(glm::dvec3 voxel) const;

  Volume<double> extendedHz;
  glm::ivec3 margin;
  PhantomGrid grid;
  double sigmaMm;
};

/// The field that the susceptibility of the head (tissue, bone, air) makes in a main field along
/// z (`dipoleFieldHz`), computed on a grid that is continued on all sides. Its constant and linear
/// part in the brain are shimmed away, and it is smoothed within the tissue (`TissueField`).
///
/// It is scaled to the largest shift asked for. The width of the Gaussian follows from the
/// gradient asked for: of the widths 1.5, 1.8, ... 6.4 voxels (factors of 1.2) one that keeps to
/// it while the next smaller does not. If none does (small grids), the scale gives way. It also
/// does where signal (of more than a hundredth of the brain's) would leave the grid. An unbounded
/// gradient takes the smallest width.
///
/// A head without any field (a grid of one voxel, say) stays without.
///
/// Errors  std::invalid_argument for a readout, shift or gradient that is not a positive number.
HeadField makeHeadField(const PhantomGrid& grid, const HeadObject& head, std::uint64_t seed,
                        const FieldGoal& goal);

}  // namespace mirel

#pragma once

#include <memory>
#include <vector>

#include "containers/volume.h"

namespace mirel {

/// What is known of the intensities of two images before they are joined.
struct RestoreWeights {
  double firstVariance = 1, secondVariance = 1;  ///< of the noise in each acquired image
  /// Mean square of x_(j-1) - 2 x_j + x_(j+1) along the columns of the undistorted image.
  double roughness = 1;
  /// Acquired intensities above this are of the head.
  double head = 0;
};

/// Joins two images that one field distorted differently into the undistorted one.
///
/// Each column x along the phase-encoding axis minimises
///
///   |y1 - K1 x|^2 / v1 + |y2 - K2 x|^2 / v2 + sum_j g_j (x_(j-1) - 2 x_j + x_(j+1))^2 / q
///
/// with the acquired columns y, their distortion K (columnMatrix), the noise's variances v, the
/// roughness q and the part g_j of voxel j's detail that both images lost (lostDetail): where they
/// hold as much as undistorted images would, nothing is smoothed. A part in a million of a unit
/// matrix keeps voxels that no image covers finite.
///
/// The normal equations of a column are banded. They are the same for all volumes of a series and
/// factored once (Cholesky); workers share one object.
///
/// Memory  about 200 bytes per voxel.
/// Source  J. L. R. Andersson, S. Skare, J. Ashburner, NeuroImage 20:870, 2003; the weights g are
///         our own.
class PairRestorer {
 public:
  /// Shifts in voxels along `axis` (0, 1, 2), applied forward to their image (Corrector).
  /// Errors  std::invalid_argument for shifts of different dimensions or not finite, variances or a
  ///         roughness that are not positive.
  PairRestorer(const Volume<float>& firstShift, const Volume<float>& secondShift, int axis,
               const RestoreWeights& weights);
  ~PairRestorer();
  PairRestorer(const PairRestorer&) = delete;
  PairRestorer& operator=(const PairRestorer&) = delete;

  /// Memory of one worker, used again from volume to volume.
  struct Scratch {
    Volume<float> first, second, out, misfitAlongY;
    /// Of the last images: how far the acquired voxels that a voxel falls into are from what was
    /// joined, 2 (y - K x)^2 / v by the parts that fall there. About 1 where both show the same,
    /// and where neither covers the voxel.
    Volume<float> misfit;
  };

  /// Leaves the misfit in `scratch`. Voxels that are not finite must have been replaced. Throws
  /// std::logic_error for images of other dimensions than the shifts.
  ///
  /// @returns what is left of the images in the head, as a multiple of the noise:
  ///
  ///   sqrt(2 / count * sum over acquired voxels above `head` of (y - K x)^2 / v)
  ///
  /// the 2 since half of their degrees of freedom go into x. About 1 where both images show the
  /// same; 0 where there is no such voxel.
  double restore(const Volume<float>& first, const Volume<float>& second, Volume<float>& result,
                 Scratch& scratch) const;

 private:
  struct Column;
  int axis;
  RestoreWeights weights;
  glm::ivec3 size{0};           // with `axis` as y
  std::vector<Column> columns;  // x fastest, then z
};

}  // namespace mirel

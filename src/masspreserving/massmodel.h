#pragma once

#include "containers/volume.h"
#include "masspreserving/columnintegral.h"

namespace mirel {

/// The difference of two images that were distorted in opposite directions, after the
/// displacement b is taken out of both with the signal conserved.
///
/// b lives at the edges between the voxels along y (b_j, j = 0 .. ny, in voxels). Edge j of the
/// undistorted grid is edge j + b_j of the first image and j - b_j of the second, so the signal of
/// voxel j is the difference of the integrals C at its two edges, and
///
///   m_j = C1(j + b_j) - C2(j - b_j),   r_j = m_(j+1) - m_j   (voxels j = 0 .. ny - 1)
///
/// is the exact discrete form of I1(y+b)(1+b') - I2(y-b)(1-b'). With s_j = I1(j + b_j) +
/// I2(j - b_j) the Jacobian has two entries per row: dr_j = s_(j+1) db_(j+1) - s_j db_j.
template <typename Real>
class MassModel {
 public:
  /// Errors  std::invalid_argument if the images' sizes differ.
  /// `parallel` does the slices of all that is made of them.
  MassModel(const Volume<float>& first, const Volume<float>& second, Parallel parallel = {});

  /// Takes other images. A mask is 0 where its image's values are not known.
  /// Errors  std::invalid_argument if a size differs from that of the images before.
  void replace(const Volume<float>& first, Volume<unsigned char> firstKnown,
               const Volume<float>& second, Volume<unsigned char> secondKnown);

  const Parallel& inParallel() const { return parallel; }
  glm::ivec3 voxels() const { return size; }
  glm::ivec3 edges() const { return {size.x, size.y + 1, size.z}; }

  /// r (voxels) and s (edges) at b (edges). Overwrites both.
  void evaluate(const Volume<Real>& b, Volume<Real>& residual, Volume<Real>& slope) const;

  /// With a ratio of intensities exp(a) of the first image over the second, one per voxel of the
  /// undistorted grid:
  ///
  ///   r_j = M1_j / f_j - M2_j f_j,   f_j = exp(a_j / 2),   M1, M2 the corrected images.
  ///
  /// `ratioRoot` is f, or empty for 1, and
  /// `inverseRoot` 1 / f, rounded on its own so that exchanging the images exchanges them exactly.
  /// `low` and `high` (voxels) are the slopes at a voxel's lower and upper edge, dr_j = high_j
  /// db_(j+1) - low_j db_j; `mean` is (M1 / f + M2 f) / 2, which is -dr / da. Overwrites all four.
  void evaluate(const Volume<Real>& b, const Volume<Real>& ratioRoot,
                const Volume<Real>& inverseRoot, Volume<Real>& residual, Volume<Real>& low,
                Volume<Real>& high, Volume<Real>& mean) const;

  /// The two corrected images (voxels).
  void correct(const Volume<Real>& b, Volume<Real>& first, Volume<Real>& second) const;

  /// 1 for voxels that both images cover, 0 for those with an edge off the grid of one of them, or
  /// in a voxel whose value is not known.
  void coverage(const Volume<Real>& b, Volume<Real>& covered) const;

 private:
  Parallel parallel;
  glm::ivec3 size;
  ColumnIntegral<Real> firstIntegral, secondIntegral;
  Volume<unsigned char> firstMask, secondMask;  // empty: everything is known
};

/// An image through the displacement `sign` b (edges), its signal conserved: voxels of the
/// undistorted grid. `out` has the image's size.
template <typename Real>
void correctAlong(const ColumnIntegral<Real>& image, const Volume<Real>& b, Real sign,
                  Volume<Real>& out, const Parallel& parallel = {});

extern template class MassModel<float>;
extern template class MassModel<double>;
extern template void correctAlong(const ColumnIntegral<float>&, const Volume<float>&, float,
                                  Volume<float>&, const Parallel&);
extern template void correctAlong(const ColumnIntegral<double>&, const Volume<double>&, double,
                                  Volume<double>&, const Parallel&);

}  // namespace mirel

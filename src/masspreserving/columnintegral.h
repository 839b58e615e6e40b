#pragma once

#include "containers/volume.h"
#include "numerics/parallel.h"
#include "simd/variant.h"

namespace mirel {

/// The integral of an image along y, from the lower edge of its first voxel:
///
///   C(p) = integral of I from edge 0 to edge coordinate p,   C(k) = I_0 + ... + I_(k-1)
///
/// Voxel k lies between the edges k and k + 1 (its centre, voxel coordinate k, has edge
/// coordinate k + 1/2). Within a voxel I is the parabola that has the voxel's value as its mean
/// and at the two edges values of fourth order, (-I_(k-2) + 7 I_(k-1) + 7 I_k - I_(k+1)) / 12,
/// clamped to lie between those of the two voxels that meet there, the rows being continued
/// constantly beyond the ends (the reconstruction of Colella & Woodward, J. Comput. Phys. 54:174,
/// 1984, without its steepening). So C is continuously differentiable and conserves each voxel's
/// signal exactly.
///
/// Edges  below edge 0 C is 0 and I is 0; above edge ny C is the column's total and I is 0.
template <typename Real>
class ColumnIntegral {
 public:
  /// Values that are not finite count as 0.
  explicit ColumnIntegral(const Volume<float>& image, const Parallel& parallel = {});

  glm::ivec3 dimensions() const { return {nx, ny, nz}; }

  /// C and I at the edge coordinates p = j + sign * shift[x] of a row x = 0 .. nx - 1.
  void sampleRow(int j, int z, const Real* shift, Real sign, Real* integral, Real* density) const;

  /// The column's integral at edge k, exact up to rounding.
  Real atEdge(int x, int k, int z) const { return cumulative.at(x, k, z); }

 private:
  SimdVariant variant = chosenVariant();
  int nx, ny, nz;
  Volume<Real> cumulative, edgeDensity;  // nx, ny + 1, nz
};

extern template class ColumnIntegral<float>;
extern template class ColumnIntegral<double>;

}  // namespace mirel

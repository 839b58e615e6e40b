#pragma once

#include <glm/vec3.hpp>

#include "simd/variant.h"

/// The inner loops of the mass-preserving estimate, over volumes, slices or rows, x fastest. Real
/// is float or double. Each element comes of the stated operations in the stated order: all
/// variants give the same bits.
namespace mirel {

/// out = wx Lx b + wy Ly b + wz Lz b with the negative second differences
///
///   (Lx b)(x) = (b(x) - b(x-1)) + (b(x) - b(x+1)),
///
/// terms with a neighbour off the grid left out: y and z first, then x. out is another volume, of
/// which the slices z = from .. to - 1 are written.
template <typename Real>
struct LaplacianWeights {
  Real x, y, z;
};
template <typename Real>
void laplacian(glm::ivec3 dims, const LaplacianWeights<Real>& weights, const Real* b, Real* out,
               int from, int to, SimdVariant variant);

/// The sums of a * b over each of `rows` rows of nx, in double. A row has eight sums, of every
/// eighth element each, the elements behind the last whole eight going to the first; they are added
/// up as ((0 + 4) + (2 + 6)) + ((1 + 5) + (3 + 7)).
template <typename Real>
void dotsOfRows(const Real* a, const Real* b, int nx, int rows, double* sums, SimdVariant variant);

/// The columns' systems L D L' out = v of a slice (nx columns of ny rows): D's inverses, and the
/// two diagonals of L below the unit one, l1 of row j next to row j - 1, l2 to row j - 2 (not read
/// where there is none). Down, o_j = (v_j - l1_j o_(j-1)) - l2_j o_(j-2); then up,
/// o_j = (o_j / D_j - l1_(j+1) o_(j+1)) - l2_(j+2) o_(j+2). out is another array.
template <typename Real>
struct ColumnFactors {
  const Real *inversePivot, *lower1, *lower2;
};
template <typename Real>
void solveColumns(int nx, int ny, const ColumnFactors<Real>& factors, const Real* v, Real* out,
                  SimdVariant variant);

/// A slice of a ColumnIntegral: nx columns, x fastest, with the rows of ny + 1 edges.
template <typename Real>
struct IntegralSlice {
  const Real *cumulative, *edgeDensity;
  int nx, ny;
};
/// ColumnIntegral::sampleRow of the edge row j. The outputs are no others of the arrays.
template <typename Real>
void sampleEdgeRow(const IntegralSlice<Real>& slice, int j, const Real* shift, Real sign,
                   Real* integral, Real* density, SimdVariant variant);

}  // namespace mirel

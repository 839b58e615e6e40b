#include "masspreserving/gridkernels.h"

#define MIREL_KERNEL_SOURCE "masspreserving/gridkernels.inc.h"
#include "simd/kernelvariants.inc.h"

namespace mirel {

template <typename Real>
void laplacian(glm::ivec3 dims, const LaplacianWeights<Real>& weights, const Real* b, Real* out,
               int from, int to, SimdVariant variant) {
  MIREL_DISPATCH(variant, laplacian<Real>)(dims, weights, b, out, from, to);
}

template <typename Real>
void dotsOfRows(const Real* a, const Real* b, int nx, int rows, double* sums, SimdVariant variant) {
  MIREL_DISPATCH(variant, dotsOfRows<Real>)(a, b, nx, rows, sums);
}

template <typename Real>
void sampleEdgeRow(const IntegralSlice<Real>& slice, int j, const Real* shift, Real sign,
                   Real* integral, Real* density, SimdVariant variant) {
  MIREL_DISPATCH(variant, sampleEdgeRow<Real>)(slice, j, shift, sign, integral, density);
}

template <typename Real>
void solveColumns(int nx, int ny, const ColumnFactors<Real>& factors, const Real* v, Real* out,
                  SimdVariant variant) {
  MIREL_DISPATCH(variant, solveColumns<Real>)(nx, ny, factors, v, out);
}

#define MIREL_GRID_KERNELS(Real)                                                                   \
  template void laplacian(glm::ivec3, const LaplacianWeights<Real>&, const Real*, Real*, int, int, \
                          SimdVariant);                                                            \
  template void dotsOfRows(const Real*, const Real*, int, int, double*, SimdVariant);              \
  template void sampleEdgeRow(const IntegralSlice<Real>&, int, const Real*, Real, Real*, Real*,    \
                              SimdVariant);                                                        \
  template void solveColumns(int, int, const ColumnFactors<Real>&, const Real*, Real*, SimdVariant);
MIREL_GRID_KERNELS(float)
MIREL_GRID_KERNELS(double)

}  // namespace mirel

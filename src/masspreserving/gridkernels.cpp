#include "masspreserving/gridkernels.h"

#define MIREL_KERNEL_SOURCE "masspreserving/gridkernels.inc.h"
#include "simd/kernelvariants.inc.h"

namespace mirel {

template <typename Real>
void laplacian(glm::ivec3 dims, const LaplacianWeights<Real>& weights, const Real* b, Real* out,
               SimdVariant variant) {
  MIREL_DISPATCH(variant, laplacian<Real>)(dims, weights, b, out);
}

#define MIREL_GRID_KERNELS(Real)                                                         \
  template void laplacian(glm::ivec3, const LaplacianWeights<Real>&, const Real*, Real*, \
                          SimdVariant);
MIREL_GRID_KERNELS(float)
MIREL_GRID_KERNELS(double)

}  // namespace mirel

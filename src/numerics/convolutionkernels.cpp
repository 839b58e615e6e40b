#include "numerics/convolutionkernels.h"

#define MIREL_KERNEL_SOURCE "numerics/convolutionkernels.inc.h"
#include "simd/kernelvariants.inc.h"

namespace mirel {

void convolveSpread(const SpreadConvolution& convolution, SimdVariant variant) {
  MIREL_DISPATCH(variant, convolveSpread)(convolution);
}

}  // namespace mirel

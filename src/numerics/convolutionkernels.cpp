#include "numerics/convolutionkernels.h"

#define MIREL_KERNEL_SOURCE "numerics/convolutionkernels.inc.h"
#include "simd/kernelvariants.inc.h"

void convolveRow(const ConvolutionRow& row, SimdVariant variant) {
  MIREL_DISPATCH(variant, convolveRow)(row);
}

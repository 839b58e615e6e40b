#include "simd/valuekernels.h"

#define MIREL_KERNEL_SOURCE "simd/valuekernels.inc.h"
#include "simd/kernelvariants.inc.h"

namespace mirel {

bool allFinite(const float* values, int count, SimdVariant variant) {
  return MIREL_DISPATCH(variant, allFinite)(values, count);
}

void addValues(double* sums, const float* values, int count, SimdVariant variant) {
  MIREL_DISPATCH(variant, addValues)(sums, values, count);
}

}  // namespace mirel

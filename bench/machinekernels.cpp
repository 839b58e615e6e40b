#include "machinekernels.h"

#define MIREL_KERNEL_SOURCE "bench/machinekernels.inc.h"
#include "simd/kernelvariants.inc.h"

namespace mirel {

double addLoaded(const double* values, int elements, int rounds, SimdVariant variant) {
  return MIREL_DISPATCH(variant, addLoaded)(values, elements, rounds);
}

float multiplyAndAdd(float factor, int rounds, SimdVariant variant) {
  return MIREL_DISPATCH(variant, multiplyAndAdd)(factor, rounds);
}

int floatLanes(SimdVariant variant) { return MIREL_DISPATCH(variant, laneCount); }

}  // namespace mirel

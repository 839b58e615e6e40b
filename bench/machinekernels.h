#pragma once

#include "simd/variant.h"

namespace mirel {

/// What this machine does at most, for comparison with the kernels. Each returns a value that
/// depends on all of its work.

/// `rounds` times: adds `elements` doubles from the first-level cache, each to a lane of its own
/// sum; `elements` is a multiple of 128.
double addLoaded(const double* values, int elements, int rounds, SimdVariant variant);

/// `rounds` times: a product and a sum of floats in each lane of twelve registers. Returns one
/// lane; `floatLanes` of them work.
float multiplyAndAdd(float factor, int rounds, SimdVariant variant);
int floatLanes(SimdVariant variant);

}  // namespace mirel

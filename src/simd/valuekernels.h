#pragma once

#include "simd/variant.h"

/// What is done with the values of whole images, one by one.
namespace mirel {

/// Whether none of `count` values is infinite or NaN.
bool allFinite(const float* values, int count, SimdVariant variant);

/// sums[i] += values[i], in double, for 0 <= i < count.
void addValues(double* sums, const float* values, int count, SimdVariant variant);

}  // namespace mirel

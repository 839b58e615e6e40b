#pragma once

#include "simd/variant.h"

/// What is done with the values of whole images, one by one.
namespace mirel {

/// Whether none of `count` values is infinite or NaN.
bool allFinite(const float* values, int count, SimdVariant variant);

}  // namespace mirel

#pragma once

#include <vector>

namespace mirel {

/// The instruction sets that kernels are built for. All of them give the same bits.
enum class SimdVariant { baseline, avx2, avx512 };

/// The variants that this processor runs, in the order above.
std::vector<SimdVariant> supportedVariants();

/// The widest supported variant, or the one that the environment variable MIREL_SIMD names
/// ("baseline", "avx2" or "avx512") if this processor supports it.
SimdVariant chosenVariant();

}  // namespace mirel

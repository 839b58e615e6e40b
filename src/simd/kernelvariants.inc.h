// Compiles one kernel source for every instruction set, each in a namespace of its own:
//
//   #define MIREL_KERNEL_SOURCE "vdm/somekernel.inc.h"
//   #include "simd/kernelvariants.inc.h"
//
// The source is written with vectors of `laneCount` elements (so many floats fill a register of
// the instruction set; see lanes.inc.h) and must include nothing itself: what it needs is included
// before, so that no shared inline function is compiled for an instruction set that not every
// machine has. MIREL_DISPATCH(variant, function) names the function of a variant. FMA stays unused:
// contraction is off, and no kernel has a complex product, which the compiler would fuse all the
// same.

// No include guard: one inclusion per kernel source.
//
// clang, which compiles for the fuzzers, has other ways to name an instruction set: there the
// baseline is all there is.
#if defined(__x86_64__) && !defined(__clang__)
#define MIREL_WIDE_VARIANTS
#endif

// A call in an inner loop would put every vector register aside.
#define MIREL_INLINE inline __attribute__((always_inline))

#if defined(MIREL_WIDE_VARIANTS)
#include <immintrin.h>
#endif

// Each of these headers needs those before it.
// clang-format off
#if defined(MIREL_WIDE_VARIANTS)

#pragma GCC push_options
#pragma GCC target("avx512f,avx512bw,avx512dq,avx512vl")
namespace mirel::avx512 {
constexpr int laneCount = 16;
#include "simd/lanes.inc.h"
#include "simd/avx512.inc.h"
#include "simd/rows.inc.h"
#include MIREL_KERNEL_SOURCE
}  // namespace mirel::avx512
#pragma GCC pop_options

#pragma GCC push_options
#pragma GCC target("avx2")
namespace mirel::avx2 {
constexpr int laneCount = 8;
#include "simd/lanes.inc.h"
#include "simd/avx2.inc.h"
#include "simd/rows.inc.h"
#include MIREL_KERNEL_SOURCE
}  // namespace mirel::avx2
#pragma GCC pop_options

#endif

namespace mirel::baseline {
constexpr int laneCount = 4;
#include "simd/lanes.inc.h"
#include "simd/baseline.inc.h"
#include "simd/rows.inc.h"
#include MIREL_KERNEL_SOURCE
}  // namespace mirel::baseline
// clang-format on

#if defined(MIREL_WIDE_VARIANTS)
#define MIREL_DISPATCH(variant, function)              \
  ((variant) == SimdVariant::avx512 ? avx512::function \
   : (variant) == SimdVariant::avx2 ? avx2::function   \
                                    : baseline::function)
#else
#define MIREL_DISPATCH(variant, function) (static_cast<void>(variant), baseline::function)
#endif

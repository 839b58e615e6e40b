#include "simd/variant.h"

#include <cstdlib>
#include <string>

namespace mirel {

namespace {

bool isSupported(SimdVariant variant) {
#if defined(__x86_64__)
  __builtin_cpu_init();
  if (variant == SimdVariant::avx2) return __builtin_cpu_supports("avx2");
  if (variant == SimdVariant::avx512)
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
#endif
  return variant == SimdVariant::baseline;
}

std::string nameOf(SimdVariant variant) {
  switch (variant) {
    case SimdVariant::avx2:
      return "avx2";
    case SimdVariant::avx512:
      return "avx512";
    default:
      return "baseline";
  }
}

}  // namespace

std::vector<SimdVariant> supportedVariants() {
  std::vector<SimdVariant> result;
  for (const SimdVariant variant : {SimdVariant::baseline, SimdVariant::avx2, SimdVariant::avx512})
    if (isSupported(variant)) result.push_back(variant);
  return result;
}

SimdVariant chosenVariant() {
  const std::vector<SimdVariant> supported = supportedVariants();
  if (const char* wanted = std::getenv("MIREL_SIMD"))
    for (const SimdVariant variant : supported)
      if (nameOf(variant) == wanted) return variant;
  return supported.back();
}

}  // namespace mirel

#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "simd/variant.h"

namespace mirel {

/// Sets MIREL_SIMD for the life of the object.
class SimdChoice {
 public:
  explicit SimdChoice(const char* name) {
    if (const char* value = std::getenv("MIREL_SIMD")) before = value;
    setenv("MIREL_SIMD", name, 1);
  }
  SimdChoice(const SimdChoice&) = delete;
  SimdChoice& operator=(const SimdChoice&) = delete;
  ~SimdChoice() {
    if (before.empty())
      unsetenv("MIREL_SIMD");
    else
      setenv("MIREL_SIMD", before.c_str(), 1);
  }

 private:
  std::string before;
};

inline const char* nameOf(SimdVariant variant) {
  return variant == SimdVariant::avx512 ? "avx512"
         : variant == SimdVariant::avx2 ? "avx2"
                                        : "baseline";
}

/// Runs body(variant) for every variant of this machine; the engine's functions use it too.
template <typename Body>
void forEachVariant(Body body) {
  for (const SimdVariant variant : supportedVariants()) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, nameOf(variant));
    const SimdChoice choice(nameOf(variant));
    body(variant);
  }
}

}  // namespace mirel

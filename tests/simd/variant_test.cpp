#include "simd/variant.h"

#include <gtest/gtest.h>

#include "simd/eachvariant.h"

namespace {

TEST(SimdVariant, TheBaselineRunsEverywhere) {
  ASSERT_FALSE(supportedVariants().empty());
  EXPECT_EQ(supportedVariants().front(), SimdVariant::baseline);
}

TEST(SimdVariant, TheEnvironmentChoosesEverySupportedVariant) {
  forEachVariant([](SimdVariant variant) { EXPECT_EQ(chosenVariant(), variant); });
}

TEST(SimdVariant, UnknownAndEmptyNamesChooseTheWidest) {
  for (const char* name : {"", "avx", "AVX2", "avx512 "}) {
    const SimdChoice choice(name);
    EXPECT_EQ(chosenVariant(), supportedVariants().back()) << '"' << name << '"';
  }
}

TEST(SimdVariant, WithoutTheEnvironmentTheWidestIsChosen) {
  const SimdChoice restoredAtTheEnd("baseline");
  unsetenv("MIREL_SIMD");
  EXPECT_EQ(chosenVariant(), supportedVariants().back());
}

}  // namespace

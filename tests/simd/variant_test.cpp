#include "simd/variant.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "simd/eachvariant.h"

namespace mirel {

namespace {

TEST(SimdVariant, TheBaselineRunsEverywhere) {
  ASSERT_FALSE(supportedVariants().empty());
  EXPECT_EQ(supportedVariants().front(), SimdVariant::baseline);
}

TEST(SimdVariant, TheyAscendSoThatTheLastIsTheWidest) {
  const std::vector<SimdVariant> variants = supportedVariants();
  for (std::size_t i = 1; i < variants.size(); ++i) EXPECT_LT(variants[i - 1], variants[i]);
}

// The system's own list of what the processor can do.
TEST(SimdVariant, WhatTheProcessorSupportsIsUsed) {
  std::ifstream info("/proc/cpuinfo");
  std::string line, flags;
  while (flags.empty() && std::getline(info, line))
    if (line.rfind("flags", 0) == 0) flags = line + " ";
  if (flags.empty()) GTEST_SKIP() << "no list of the processor's features";
  const auto has = [&](const std::string& flag) {
    return flags.find(" " + flag + " ") != std::string::npos;
  };
  const auto supports = [](SimdVariant variant) {
    const std::vector<SimdVariant> variants = supportedVariants();
    return std::find(variants.begin(), variants.end(), variant) != variants.end();
  };
  EXPECT_EQ(supports(SimdVariant::avx2), has("avx2"));
  EXPECT_EQ(supports(SimdVariant::avx512),
            has("avx512f") && has("avx512bw") && has("avx512dq") && has("avx512vl"));
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

}  // namespace mirel

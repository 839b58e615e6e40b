#include "simd/valuekernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "simd/eachvariant.h"
#include "support/compare.h"
#include "support/random_volume.h"

namespace mirel {

namespace {

// Around the widths of all registers, and what is left over behind several of them.
const std::vector<int> counts = {0,  1,  2,  3,  4,  5,  7,  8,  9,   15,
                                 16, 17, 31, 32, 33, 47, 48, 49, 100, 1001};

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float largest = std::numeric_limits<float>::max();

std::vector<float> randomValues(int count, unsigned seed) {
  Random random(seed);
  std::vector<float> values;
  for (int n = 0; n < count; ++n) values.push_back(random.uniform(-3e4f, 3e4f));
  return values;
}

}  // namespace

TEST(AllFinite, OneOddValueAnywhereIsFound) {
  forEachVariant([](SimdVariant variant) {
    for (const int count : counts) {
      std::vector<float> values = randomValues(count, 3);
      EXPECT_TRUE(allFinite(values.data(), count, variant));
      for (std::size_t n = 0; n < values.size(); ++n)
        for (const float odd : {infinity, -infinity, std::nanf("")}) {
          const float before = std::exchange(values[n], odd);
          ASSERT_FALSE(allFinite(values.data(), count, variant)) << n << " of " << count;
          values[n] = before;
        }
    }
  });
}

TEST(AllFinite, TheEndsOfTheRangeAreFinite) {
  forEachVariant([](SimdVariant variant) {
    std::vector<float> values(40, largest);
    values[3] = -largest;
    values[17] = std::numeric_limits<float>::denorm_min();
    values[39] = -0.0f;
    EXPECT_TRUE(allFinite(values.data(), 40, variant));
  });
}

TEST(AddValues, EqualsTheLoopToTheBit) {
  forEachVariant([](SimdVariant variant) {
    for (const int count : counts) {
      std::vector<double> sums(static_cast<std::size_t>(count) + 1, 0.1), wanted = sums;
      for (unsigned volume = 0; volume < 5; ++volume) {
        std::vector<float> values = randomValues(count, volume);
        if (count > 8)
          values[volume] = std::vector{infinity, -infinity, largest, 1e-45f, -0.0f}[volume];
        for (std::size_t n = 0; n < values.size(); ++n) wanted[n] += static_cast<double>(values[n]);
        addValues(sums.data(), values.data(), count, variant);
      }
      // The element behind them stays as it was.
      EXPECT_TRUE(compare::same(sums, wanted)) << count << " values";
    }
  });
}

}  // namespace mirel

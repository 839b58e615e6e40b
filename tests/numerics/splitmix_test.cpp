#include "numerics/splitmix.h"

#include <gtest/gtest.h>

namespace mirel {

TEST(SplitMix64, givesThePublishedSequence) {
  // State and increment of the generator, which adds the increment before it mixes.
  const std::uint64_t seed = 1234567, increment = 0x9e3779b97f4a7c15ULL;
  EXPECT_EQ(splitMix64(seed), 6457827717110365317ULL);
  EXPECT_EQ(splitMix64(seed + increment), 3203168211198807973ULL);
  EXPECT_EQ(splitMix64(seed + 2 * increment), 9817491932198370423ULL);
}

}  // namespace mirel

#include <gtest/gtest.h>

#include <limits>

#include "base/dimensions.h"
#include "base/joined.h"
#include "base/numbertext.h"
#include "base/percentencoded.h"

namespace mirel {

TEST(DimensionsText, IsWhatMessagesSay) {
  EXPECT_EQ(text(glm::ivec3(64, 63, 30)), "64 x 63 x 30");
  EXPECT_EQ(text({64, 63, 30}, "x"), "64x63x30");
  EXPECT_EQ(text({-1, 0, 2147483647}), "-1 x 0 x 2147483647");
}

TEST(NumberText, HasSixDigitsOrWhatTheFormatSays) {
  EXPECT_EQ(text(0.05), "0.05");
  EXPECT_EQ(text(1.0 / 3.0), "0.333333");
  EXPECT_EQ(text(1e-7), "1e-07");
  EXPECT_EQ(text("%.3f", 2.0 / 3.0), "0.667");
  EXPECT_EQ(text("%.0f %%", 12.4), "12 %");
  EXPECT_EQ(text("%.2f", -0.001), "-0.00");
}

TEST(NumberText, CountsOneInTheSingular) {
  EXPECT_EQ(counted(0, "volume"), "0 volumes");
  EXPECT_EQ(counted(1, "volume"), "1 volume");
  EXPECT_EQ(counted(std::size_t{12}, "voxel"), "12 voxels");
  EXPECT_EQ(counted("%.3g", 0.5, "voxel"), "0.5 voxels");
  EXPECT_EQ(counted("%.3g", 1.0001, "voxel"), "1 voxel");
}

TEST(JoinedTexts, RangesAreNamedInTheSingularWhereThereIsOneNumber) {
  EXPECT_EQ(namedRanges("slice", std::vector<int>{10}), "slice 10");
  EXPECT_EQ(namedRanges("slice", std::vector<int>{3, 4, 9}), "slices 3 to 4, 9");
}

TEST(JoinedTexts, StandOneAfterTheOther) {
  EXPECT_EQ(joined({}), "");
  EXPECT_EQ(joined({"a"}), "a");
  EXPECT_EQ(joined({"a", "", "c"}), "a, , c");
  EXPECT_EQ(joined({"a", "b"}, "|"), "a|b");
}

TEST(PercentEncoded, LeavesOnlyWhatAnAddressCanHold) {
  EXPECT_EQ(percentEncoded("sub-01/a_b.~9.html"), "sub-01/a_b.~9.html");
  EXPECT_EQ(percentEncoded("a b:c?#%\xC3\xA9\"<"), "a%20b%3Ac%3F%23%25%C3%A9%22%3C");
}

TEST(NumberText, IsCutShortAndNotWrittenBeyondItsEnd) {
  EXPECT_EQ(text("%.3f", std::numeric_limits<double>::max()).size(), 99u);
}

}  // namespace mirel

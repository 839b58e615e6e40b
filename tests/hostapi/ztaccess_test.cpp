#include "hostapi/ztaccess.h"

#include <gmock/gmock.h>

#include "numerics/fft/fftaccess.h"

namespace mirel {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(VersionRule, AcceptsTheMinimumAndLater) {
  EXPECT_TRUE(checkVersionGreaterEqualVersion(2, 6, 0, 2, 6, 0));
  EXPECT_TRUE(checkVersionGreaterEqualVersion(2, 7, -3, 2, 6, 0));
  EXPECT_TRUE(checkVersionGreaterEqualVersion(3, 0, 0, 2, 6, 0));
  EXPECT_TRUE(checkVersionGreaterEqualVersion(2, 6, 5, 2, 6, 0));
}

TEST(VersionRule, RefusesEarlier) {
  EXPECT_FALSE(checkVersionGreaterEqualVersion(2, 5, 99, 2, 6, 0));
  EXPECT_FALSE(checkVersionGreaterEqualVersion(2, 6, -1, 2, 6, 0));
  EXPECT_FALSE(checkVersionGreaterEqualVersion(1, 9, 9, 2, 6, 0));
}

TEST(SplitString, DropsEmptyLines) {
  EXPECT_THAT(split_string("/a/run1.fmr\n\n/a/run2.dmr\n"),
              ElementsAre("/a/run1.fmr", "/a/run2.dmr"));
  EXPECT_THAT(split_string("\n\nb\n\n\n"), ElementsAre("b"));
}

TEST(SplitString, OfOneLineIsThatLine) { EXPECT_THAT(split_string("one"), ElementsAre("one")); }

TEST(SplitString, OfNothingIsEmpty) {
  EXPECT_THAT(split_string(""), IsEmpty());
  EXPECT_THAT(split_string("\n\n"), IsEmpty());
}

TEST(SplitString, KeepsCarriageReturns) {
  EXPECT_THAT(split_string("a\r\nb"), ElementsAre("a\r", "b"));
}

TEST(ToString, PrintsDecimal) {
  EXPECT_EQ(to_string(-5), "-5");
  EXPECT_EQ(to_string(4294967295LL), "4294967295");
  EXPECT_EQ(to_string(-9223372036854775807LL - 1), "-9223372036854775808");
}

TEST(StringToVector, IsAWritableTerminatedCopy) {
  std::vector<char> copy = string_to_vector("ab");
  EXPECT_THAT(copy, ElementsAre('a', 'b', '\0'));
}

// This program exports none of the host's functions.
TEST(InitZTAccess, FailsWithoutAHost) {
  EXPECT_FALSE(InitZTAccess());
  EXPECT_EQ(host::ztLogText, nullptr);
}

TEST(InitMKLAccess, FailsWithoutAHost) { EXPECT_FALSE(InitMKLAccess()); }

}  // namespace mirel

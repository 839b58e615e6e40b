#include "base/assertion.h"

#include <gtest/gtest.h>

namespace mirel {

TEST(AssertionFailed, JoinsFileLineAndConditionWithNothingBetween) {
  const std::logic_error failure = assertion_failed("src/vdm/vdm.cpp", 42, "a == b");
  EXPECT_STREQ(failure.what(), "assertion failure (src/vdm/vdm.cpp:42): a == b");
}

TEST(Require, ThrowsOnlyWhenTheConditionFails) {
  EXPECT_NO_THROW(require(true, "f", 1, "true"));
  EXPECT_THROW(require(false, "f", 1, "false"), std::logic_error);
}

}  // namespace mirel

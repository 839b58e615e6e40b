// A program of its own, in which nothing was ever bound.
#include <gmock/gmock.h>

#include "plugin/loadedplugin.h"
#include "plugin/testhost.h"

namespace mirel {

TEST(UninitialisedPlugin, ExecuteDoesNothing) {
  const auto plugin = createdPlugin();
  for (const char* task : {"", "check", "select_vdm", "estimate", "apply"}) {
    testHost().strings["task"] = task;
    EXPECT_TRUE(plugin->execute());
  }
  EXPECT_THAT(testHost().calls, testing::IsEmpty());
}

}  // namespace mirel

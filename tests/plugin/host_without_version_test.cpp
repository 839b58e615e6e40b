// A host that exports everything but the version query.
#include <gmock/gmock.h>

#include "hostapi/ztaccess.h"
#include "plugin/loadedplugin.h"
#include "plugin/testhost.h"

namespace mirel {

TEST(HostWithoutVersion, IsNotBound) {
  EXPECT_FALSE(InitZTAccess());
  EXPECT_EQ(host::ztGetVersionOfCorvanaZT, nullptr);
  EXPECT_EQ(host::ztLogText, nullptr);
}

TEST(HostWithoutVersion, FailsInitPluginSilently) {
  auto plugin = createdPlugin();
  EXPECT_FALSE(plugin->initPlugin());
  plugin.reset();
  // No message, and no log whose destruction would call the host.
  EXPECT_THAT(testHost().calls, testing::IsEmpty());
}

// The message box is not bound either.
TEST(HostWithoutVersion, IsLeftAloneByWhatIsExecutedAllTheSame) {
  const auto plugin = createdPlugin();
  ASSERT_FALSE(plugin->initPlugin());
  testHost().calls.clear();
  EXPECT_TRUE(plugin->execute());
  EXPECT_TRUE(testHost().calls.empty());
}

}  // namespace mirel

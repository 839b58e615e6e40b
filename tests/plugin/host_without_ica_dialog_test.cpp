// A host that lacks a function which the plugin binds but never calls.
#include <gtest/gtest.h>

#include "hostapi/ztaccess.h"
#include "plugin/loadedplugin.h"

namespace mirel {

TEST(HostWithoutICADialog, IsStillBoundAndTheMissingPointerIsNull) {
  EXPECT_TRUE(InitZTAccess());
  EXPECT_EQ(host::ztLaunchICADialog, nullptr);
  EXPECT_NE(host::ztSetIntParameter, nullptr);
}

TEST(HostWithoutICADialog, IsAccepted) { EXPECT_TRUE(createdPlugin()->initPlugin()); }

}  // namespace mirel

#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "plugin/loadedplugin.h"
#include "plugin/testhost.h"
#include "support/projectfiles.h"

namespace mirel {

/// A fixture with a host, an initialised plugin and a folder for files.
class TaskTest : public testing::Test {
 protected:
  void SetUp() override {
    testHost() = {};
    ASSERT_TRUE(plugin->initPlugin());
    testHost().calls.clear();
  }

  void run(const std::string& task) {
    testHost().strings["task"] = task;
    EXPECT_TRUE(plugin->execute());
  }

  std::string file(const std::string& name) const { return folder.file(name); }

  TemporaryFolder folder;
  std::unique_ptr<CNZTPluginInterface> plugin = createdPlugin();
};

}  // namespace mirel

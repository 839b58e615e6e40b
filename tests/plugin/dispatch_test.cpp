#include <gmock/gmock.h>

#include <stdexcept>

#include "plugin/loadedplugin.h"
#include "plugin/testhost.h"

namespace mirel {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Dispatch : public testing::Test {
 protected:
  void SetUp() override {
    testHost() = {};
    ASSERT_TRUE(plugin->initPlugin());
    testHost().calls.clear();
  }

  bool execute(const std::string& task) {
    testHost().strings["task"] = task;
    return plugin->execute();
  }

  std::unique_ptr<CNZTPluginInterface> plugin = createdPlugin();
};

}  // namespace

TEST_F(Dispatch, UnknownTaskShowsAndStopsTheBusyCursorOnly) {
  for (const char* task : {"", "estimat", "Estimate", "CHECK", "apply "}) {
    testHost().calls.clear();
    EXPECT_TRUE(execute(task));
    EXPECT_THAT(testHost().calls,
                ElementsAre("ztGetStringParameter task", "ztShowBusyCursor", "ztStopBusyCursor"))
        << task;
  }
}

TEST_F(Dispatch, CheckAndSelectionRunWithoutTheBusyCursor) {
  EXPECT_TRUE(execute("check"));
  EXPECT_TRUE(execute("select_fmr_or_dmr"));
  EXPECT_TRUE(execute("select_vdm"));
  EXPECT_THAT(
      testHost().calls,
      ElementsAre("ztGetStringParameter task", "ztGetStringParameter files", "ztLogText Check: OK",
                  "ztGetStringParameter task",
                  "ztGetOpenFileName [Please select an FMR or DMR project.] [] [*.fmr *.dmr]",
                  "ztSetStringParameter filename=", "ztGetStringParameter task",
                  "ztGetOpenFileName [Please select an VDM.] [] [*_vdm.map]",
                  "ztSetStringParameter filename="));
}

TEST_F(Dispatch, FailureStopsTheBusyCursorBeforeItIsShown) {
  testHost().strings["file0"] = "/nowhere/a.fmr";
  EXPECT_TRUE(execute("estimate"));
  ASSERT_GE(testHost().calls.size(), 2u);
  EXPECT_EQ(testHost().calls[testHost().calls.size() - 2], "ztStopBusyCursor");
  EXPECT_EQ(testHost().calls.back(),
            "ztMessageBox Error: Failed opening for reading: /nowhere/a.fmr");
}

TEST_F(Dispatch, RuntimeErrorBecomesExactlyItsTextBehindError) {
  testHost().onShowBusyCursor = [] { throw std::runtime_error("the text"); };
  EXPECT_TRUE(execute("anything"));
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: the text"));
}

TEST_F(Dispatch, ExceptionsOfOtherTypesPassOnToTheHost) {
  testHost().onShowBusyCursor = [] { throw 42; };
  EXPECT_THROW(execute("anything"), int);
  EXPECT_THAT(testHost().boxes, IsEmpty());
}

TEST_F(Dispatch, AssertionFailureIsShownWithFileLineAndCondition) {
  testHost().hasMap = false;
  EXPECT_TRUE(execute("apply"));
  EXPECT_THAT(
      testHost().boxes,
      ElementsAre("Error: assertion failure (src/plugin/distcor.cpp:97): slices != nullptr"));
}

}  // namespace mirel

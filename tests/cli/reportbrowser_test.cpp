#include <gtest/gtest.h>

#include "cli/browser.h"
#include "cli/correctpair.h"

namespace mirel {

// What a real browser makes of the page of a run.

namespace {

using nlohmann::json;

using ReportInBrowser = CorrectPair;

TEST_F(ReportInBrowser, LoadsFlipsAndFitsEveryScreen) {
  const Browser browser{};
  if (!browser.isThere()) GTEST_SKIP() << noBrowser;
  const ProgramResult result =
      correct({"--quiet", "--fast", "--apply", input("sub-phantom_task-rest_dir-AP_bold.nii.gz")});
  ASSERT_EQ(result.status, 0) << result.err;
  const json seen = browser.looked(MIREL_BROWSER_SCRIPT, out("report.html"), file(""));
  ASSERT_FALSE(seen.contains("failed")) << seen.dump(1);

  EXPECT_EQ(seen["errors"], json::array());
  EXPECT_EQ(seen["requests"], json::array());
  EXPECT_EQ(seen["broken"], 0) << "pictures that cannot be shown";
  EXPECT_EQ(seen["unnamed"], 0) << "pictures and buttons without a text";
  EXPECT_EQ(seen["pictureChanged"], true) << "hovering";
  const json states = {{"start", "hidden"},
                       {"hovered", "visible"},
                       {"left", "hidden"},
                       {"pressed", "visible"},
                       {"released", "hidden"}};
  EXPECT_EQ(seen["states"], states);
  expectUsableWithoutSightAndMouse(seen);
  for (const char* width : {"360", "1600"}) {
    const json& size = seen["sizes"][width];
    EXPECT_EQ(size["scrolls"], 0) << width;
    EXPECT_EQ(size["overlaps"], json::array()) << width;
    EXPECT_EQ(size["wider"], json::array()) << width;
  }
}

}  // namespace

}  // namespace mirel

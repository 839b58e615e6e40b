#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/correctpair.h"

namespace mirel {

// What a real browser makes of the page of a run.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

std::string onPath(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path == nullptr ? "" : path);
  for (std::string folder; std::getline(folders, folder, ':');)
    if (fs::exists(fs::path(folder) / name)) return (fs::path(folder) / name).string();
  return {};
}

class ReportInBrowser : public CorrectPair {
 protected:
  // What browser.mjs says about the page.
  json looked(const std::string& chromium, const std::string& node) const {
    const ProgramResult seen = runProgram(
        node, {MIREL_BROWSER_SCRIPT, chromium, out("report.html"), file("profile")}, file(""));
    json said = json::parse(seen.out, nullptr, false);
    if (said.is_discarded()) return {{"failed", seen.out + seen.err}};
    return said;
  }
};

TEST_F(ReportInBrowser, LoadsFlipsAndFitsEveryScreen) {
  const std::string chromium = onPath("chromium"), node = onPath("node");
  if (chromium.empty() || node.empty())
    GTEST_SKIP() << "Chromium or Node is not installed (packages chromium and nodejs): "
                    "the page was not looked at";
  const ProgramResult result =
      correct({"--quiet", "--fast", "--apply", input("sub-phantom_task-rest_dir-AP_bold.nii.gz")});
  ASSERT_EQ(result.status, 0) << result.err;
  const json seen = looked(chromium, node);
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
  for (const char* width : {"360", "1600"}) {
    const json& size = seen["sizes"][width];
    EXPECT_EQ(size["scrolls"], 0) << width;
    EXPECT_EQ(size["overlaps"], json::array()) << width;
    EXPECT_EQ(size["wider"], json::array()) << width;
  }
}

}  // namespace

}  // namespace mirel

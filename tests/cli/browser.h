#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "cli/program.h"

namespace mirel {

/// The full path of a program; empty where it is not installed.
inline std::string onPath(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path == nullptr ? "" : path);
  for (std::string folder; std::getline(folders, folder, ':');)
    if (std::filesystem::exists(std::filesystem::path(folder) / name))
      return (std::filesystem::path(folder) / name).string();
  return {};
}

/// Headless Chromium, where it and Node are installed (packages chromium and nodejs).
struct Browser {
  std::string chromium = onPath("chromium"), node = onPath("node");

  bool isThere() const { return !chromium.empty() && !node.empty(); }
  /// What a script for Node says about a page; {"failed": ...} when it says nothing.
  nlohmann::json looked(const std::string& script, const std::string& page,
                        const std::string& folder,
                        const std::vector<std::string>& options = {}) const {
    std::vector<std::string> words = {script, chromium, page, folder + "/profile"};
    words.insert(words.end(), options.begin(), options.end());
    const ProgramResult seen = runProgram(node, words, folder);
    nlohmann::json said = nlohmann::json::parse(seen.out, nullptr, false);
    if (said.is_discarded()) return {{"failed", seen.out + seen.err}};
    return said;
  }
};

/// Of what a script said: a screen reader has a name for every control and picture, and the
/// tabulator key comes by every control, in the order of the page.
inline void expectUsableWithoutSightAndMouse(const nlohmann::json& seen) {
  const nlohmann::json none = nlohmann::json::array();
  EXPECT_EQ(seen["accessibility"]["nameless"], none);
  EXPECT_GT(seen["accessibility"]["counts"].value("image", 0), 0);
  EXPECT_GT(seen["accessibility"]["counts"].value("button", 0), 0);
  EXPECT_EQ(seen["keyboard"]["leftOut"], none);
  EXPECT_EQ(seen["keyboard"]["inOrder"], true);
  EXPECT_GT(seen["keyboard"]["count"], 5);
}

inline constexpr const char* noBrowser =
    "Chromium or Node is not installed (packages chromium and nodejs): the page was not looked at";

}  // namespace mirel

#include "cli/inbrowser.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "cli/program.h"

namespace mirel {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

std::string onPath(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::istringstream folders(path == nullptr ? "" : path);
  for (std::string folder; std::getline(folders, folder, ':');)
    if (fs::exists(fs::path(folder) / name)) return (fs::path(folder) / name).string();
  return {};
}

}  // namespace

std::string browserMissing() {
  if (!onPath("chromium").empty() && !onPath("node").empty()) return {};
  return "Chromium or Node is not installed (packages chromium and nodejs): "
         "the page was not looked at";
}

json inBrowser(const std::string& script, const std::string& page, const std::string& folder,
               const std::vector<std::string>& options) {
  fs::create_directories(folder);
  std::vector<std::string> words = {std::string(MIREL_BROWSER_SCRIPTS) + "/" + script,
                                    onPath("chromium"), page, folder};
  words.insert(words.end(), options.begin(), options.end());
  const ProgramResult seen = runProgram(onPath("node"), words, folder);
  const json said = json::parse(seen.out, nullptr, false);
  if (said.is_discarded()) return {{"failed", seen.out + seen.err}};
  return said;
}

}  // namespace mirel

#include "cli/installation.h"

#include <regex>
#include <sstream>

namespace mirel {

std::unique_ptr<TemporaryFolder> Installation::prefix;

void Installation::SetUpTestSuite() {
  prefix = std::make_unique<TemporaryFolder>();
  const ProgramResult result =
      runProgram(MIREL_CMAKE, {"--install", MIREL_BUILD_FOLDER, "--prefix", prefix->file("")},
                 prefix->file(""));
  ASSERT_EQ(result.status, 0) << result.err;
}

void Installation::TearDownTestSuite() { prefix.reset(); }

ProgramResult Installation::shell(const std::string& line, const std::string& interpreter) {
  const TemporaryFolder folder;
  const std::string path = "PATH='" + installed("bin") + "':$PATH\n";
  return runProgram(interpreter, {"-c", path + line}, folder.file(""));
}

std::string Installation::program(const std::string& name) {
  const std::string line = shell("command -v " + name).out;
  return line.substr(0, line.find('\n'));
}

std::vector<std::string> Installation::commands() {
  std::vector<std::string> names;
  const std::string help = shell("mirel --help").out;
  std::istringstream is(help.substr(help.find("Subcommands:")));
  std::smatch found;
  for (std::string line; std::getline(is, line);)
    if (std::regex_search(line, found, std::regex("^  ([a-z-]+) "))) names.push_back(found[1]);
  return names;
}

std::vector<std::string> Installation::optionsOf(const std::string& command) {
  std::vector<std::string> names;
  std::istringstream is(shell("mirel " + command + " --help").out);
  const std::regex head("^  (-[^ ]*)"), name("--?[a-z][a-z0-9_-]*", std::regex::icase);
  std::smatch found;
  for (std::string line; std::getline(is, line);) {
    if (!std::regex_search(line, found, head)) continue;
    const std::string all = found[1];
    for (std::sregex_iterator it(all.begin(), all.end(), name), end; it != end; ++it)
      names.push_back(it->str());
  }
  return names;
}

}  // namespace mirel

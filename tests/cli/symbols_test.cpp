// What the program shows to a plugin: its functions, and nothing that could take the place of a
// symbol of the plugin's own.
#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

#include "cli/program.h"

namespace mirel {

namespace {

std::string outputOf(const std::string& command) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string output;
  std::array<char, 4096> buffer;
  while (pipe && std::fgets(buffer.data(), buffer.size(), pipe.get())) output += buffer.data();
  return output;
}

TEST(Symbols, TheProgramExportsExactlyTheHostFunctionsOfItsOwnCode) {
  std::set<std::string> expected;
  std::istringstream list(textOf(MIREL_EXPORT_LIST));
  for (std::string word; list >> word;)
    if (word.ends_with(";") && word != "};") expected.insert(word.substr(0, word.size() - 1));
  ASSERT_EQ(expected.size(), 21u);

  std::istringstream symbols(outputOf("nm -D --defined-only --format=posix " MIREL_PROGRAM));
  std::set<std::string> exported;
  std::set<std::string> variables;
  for (std::string line; std::getline(symbols, line);) {
    const std::string name = line.substr(0, line.find(' '));
    if (name.starts_with("zt")) exported.insert(name);
    if (name.starts_with("plugin_fftw_")) variables.insert(name);
  }
  EXPECT_EQ(exported, expected);
  EXPECT_THAT(variables, testing::IsEmpty());
}

}  // namespace

}  // namespace mirel

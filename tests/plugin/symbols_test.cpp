// What the built library exports and needs, read from its dynamic section.
#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace mirel {

namespace {

std::string outputOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string output;
  std::array<char, 4096> buffer;
  while (std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) output += buffer.data();
  return output;
}

}  // namespace

TEST(Symbols, ExportsTheEntryPointsAndFftPointersAndNothingElse) {
  std::istringstream lines(outputOf("nm -D --defined-only --format=posix '" MIREL_PLUGIN_FILE "'"));
  std::set<std::string> names;
  for (std::string line; std::getline(lines, line);) names.insert(line.substr(0, line.find(' ')));
  EXPECT_EQ(names,
            (std::set<std::string>{"createPlugin", "getPluginName", "getPluginDescription",
                                   "getAuthor", "getHelpFile", "getPluginVersion", "getGUIScript",
                                   "plugin_fftw_malloc", "plugin_fftw_free",
                                   "plugin_fftw_plan_dft_r2c_3d", "plugin_fftw_plan_dft_c2r_3d",
                                   "plugin_fftw_execute", "plugin_fftw_destroy_plan"}));
}

TEST(Symbols, NeedsOnlyTheRuntimeLibraries) {
  std::istringstream lines(outputOf("readelf -d '" MIREL_PLUGIN_FILE "'"));
  const std::set<std::string> allowed{"libstdc++.so.6", "libm.so.6", "libgcc_s.so.1", "libc.so.6",
                                      "ld-linux-x86-64.so.2", "libdl.so.2",
                                      // only in sanitizer builds
                                      "libasan.so.8", "libubsan.so.1"};
  int needed = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.find("(NEEDED)") == std::string::npos) continue;
    const std::size_t begin = line.find('[') + 1;
    EXPECT_EQ(allowed.count(line.substr(begin, line.find(']') - begin)), 1u) << line;
    ++needed;
  }
  EXPECT_GT(needed, 0);
}

}  // namespace mirel

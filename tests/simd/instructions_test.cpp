#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace mirel {

namespace {

struct CloseProcess {
  void operator()(std::FILE* pipe) const { pclose(pipe); }
};

/// Counts the plugin's instructions, all of them and those of two kinds.
struct Instructions {
  long all = 0, fused = 0, wide = 0;
  std::string firstFused;

  Instructions() {
    const std::string command =
        std::string(MIREL_OBJDUMP) + " -d --no-show-raw-insn \"" + MIREL_PLUGIN_FILE + '"';
    const std::unique_ptr<std::FILE, CloseProcess> pipe(popen(command.c_str(), "r"));
    std::array<char, 4096> line;
    while (pipe && std::fgets(line.data(), line.size(), pipe.get())) count(line.data());
  }

 private:
  void count(const std::string& line) {
    ++all;
    wide += line.find("%zmm") != std::string::npos;
    // vfmadd, vfmsub, vfnmadd, vfnmsub, vfmaddsub, vfmsubadd and the complex vfmaddcph.
    if (line.find("\tvfm") == std::string::npos && line.find("\tvfnm") == std::string::npos) return;
    if (fused++ == 0) firstFused = line;
  }
};

// One fused operation has one rounding where the arithmetic is defined with two.
TEST(Instructions, NoVariantFusesMultiplicationAndAddition) {
#if !defined(__x86_64__)
  GTEST_SKIP() << "the variants exist for x86-64";
#elif defined(__clang__)
  GTEST_SKIP() << "clang makes no use of the widest registers";
#endif
  const Instructions plugin;
  ASSERT_GT(plugin.all, 10000) << "no disassembly of " << MIREL_PLUGIN_FILE;
  EXPECT_GT(plugin.wide, 100) << "the widest variant is missing";
  EXPECT_EQ(plugin.fused, 0) << "first: " << plugin.firstFused;
}

}  // namespace

}  // namespace mirel

// Where the program finds its plugin.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "cli/program.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class FindingThePlugin : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(folder.file("bin"));
    fs::copy_file(MIREL_PROGRAM, program);
    writeFmr(folder.file("a.fmr"), {});
  }

  ProgramResult check() { return runProgram(program, {"check", "a.fmr"}, folder.file("")); }

  TemporaryFolder folder;
  const std::string program = folder.file("bin/mirel");
};

TEST_F(FindingThePlugin, WithoutOneTheSearchedFoldersAreNamed) {
  const ProgramResult result = check();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("cannot find the plugin libMirelPlugin.so in "));
  EXPECT_THAT(result.err, HasSubstr(folder.file("lib/mirel")));
}

TEST_F(FindingThePlugin, ItIsTakenFromTheKnownFolders) {
  for (const char* place : {"bin", "lib/mirel", "lib"}) {
    fs::create_directories(folder.file(place));
    const std::string copy = folder.file(place) + "/libMirelPlugin.so";
    fs::copy_file(MIREL_PLUGIN, copy);
    EXPECT_EQ(check().status, 0) << place;
    fs::remove(copy);
  }
}

TEST_F(FindingThePlugin, ALinkToTheProgramStillFindsIt) {
  fs::create_symlink(MIREL_PROGRAM, folder.file("link"));
  EXPECT_EQ(runProgram(folder.file("link"), {"check", "a.fmr"}, folder.file("")).status, 0);
}

TEST_F(FindingThePlugin, ANamedOneIsTakenFromTheCurrentFolder) {
  fs::copy_file(MIREL_PLUGIN, folder.file("mine.so"));
  const auto run = [this](const std::vector<std::string>& arguments) {
    return runProgram(program, arguments, folder.file(""));
  };
  EXPECT_EQ(run({"--plugin", "mine.so", "check", "a.fmr"}).status, 0);
  EXPECT_EQ(run({"check", "a.fmr", "--plugin", "./mine.so"}).status, 0);
}

TEST_F(FindingThePlugin, FilesThatAreNoPluginAreRefusedByName) {
  const std::string text = folder.file("text.so");
  std::ofstream(text) << "no library";
  const ProgramResult missing = runMirel({"--plugin", folder.file("none.so"), "check", "a.fmr"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "Error: there is no plugin file " + folder.file("none.so") + "\n");
  EXPECT_THAT(runMirel({"--plugin", text, "check", "a.fmr"}).err,
              HasSubstr("cannot load the plugin " + text));
  EXPECT_THAT(runMirel({"--plugin", MIREL_OTHER_LIBRARY, "check", "a.fmr"}).err,
              HasSubstr("is not the Mirel plugin: it has no entry point createPlugin"));
}

}  // namespace

}  // namespace mirel

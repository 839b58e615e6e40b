#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "files/mapfile.h"
#include "files/mydmr.h"
#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

// "mirel convert" as a user runs it: exit status, messages, files.

using namespace niftifiles;
using testing::HasSubstr;

namespace {

struct ConvertCommand : testing::Test {
  TemporaryFolder folder;
  std::string output;
  std::string messages;

  void SetUp() override {
    Raw raw;
    raw.dim = {4, 2, 3, 4, 2};
    raw.data = samples(std::vector<std::int16_t>(48, 7));
    writeBytes(folder.file("a b.nii"), bytesOf(raw));
  }
  /// Runs the program in the folder; its exit status.
  int run(const std::string& arguments) {
    const std::string command = "cd '" + folder.file("") + "' && '" MIREL_PROGRAM "' convert " +
                                arguments + " >out.txt 2>err.txt";
    const int status = std::system(command.c_str());
    output = textOf(folder.file("out.txt"));
    messages = textOf(folder.file("err.txt"));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  void writeMap(const std::string& name) {
    Map map;
    map.header.dimX = 2;
    map.header.dimY = 3;
    map.header.dimZ = 4;
    map.values.assign(24, 0.25F);
    map.values[23] = -1.5F;
    writeMapFile(folder.file(name), map);
  }
};

}  // namespace

TEST_F(ConvertCommand, ThereAndBack) {
  ASSERT_EQ(run("'a b.nii' run.fmr"), 0) << messages;
  EXPECT_EQ(output, "run.stc\nrun_geometry.json\nrun.fmr\n");
  EXPECT_EQ(messages, "");
  ASSERT_EQ(run("run.fmr c.nii.gz"), 0) << messages;
  EXPECT_EQ(output, "c.nii.gz\n");
  EXPECT_TRUE(nifti::Reader(folder.file("c.nii.gz")).readVolume(1) ==
              nifti::Reader(folder.file("a b.nii")).readVolume(1));
}

TEST_F(ConvertCommand, GradientFiles) {
  writeText(folder.file("v"), "1 0\n0 1\n0 0\n");
  writeText(folder.file("w"), "700 800\n");
  ASSERT_EQ(run("'a b.nii' run.dmr --bvec v --bval w"), 0) << messages;
  EXPECT_EQ(DMR(folder.file("run.dmr"), false).gradientWeights, (std::vector<float>{700, 800}));
  ASSERT_EQ(run("'a b.nii' run.dmr"), 0);
  EXPECT_THAT(messages, HasSubstr("Note: there are no .bvec and .bval files"));
}

TEST_F(ConvertCommand, MapWithItsOwnProjectOrAReference) {
  writeMap("run_vdm.map");
  EXPECT_EQ(run("run_vdm.map vdm.nii"), 1);
  EXPECT_THAT(messages, HasSubstr("--reference"));
  ASSERT_EQ(run("run_vdm.map vdm.nii --reference 'a b.nii'"), 0) << messages;
  nifti::Reader image(folder.file("vdm.nii"));
  EXPECT_EQ(image.readVolume(0).at(1, 2, 3), -1.5F);
  EXPECT_EQ(image.readVolume(0).at(0, 0, 0), 0.25F);
  EXPECT_EQ(image.header().affine(), nifti::Reader(folder.file("a b.nii")).header().affine());
  ASSERT_EQ(run("'a b.nii' run.fmr"), 0);
  ASSERT_EQ(run("run_vdm.map own.nii"), 0) << messages;
  ASSERT_EQ(run("'a b.nii' run.dmr"), 0);
  EXPECT_EQ(run("run_vdm.map other.nii"), 1) << "two projects could be meant";
}

TEST_F(ConvertCommand, FaultsAreOneSentenceAndStatus1) {
  for (const char* arguments : {"none.nii run.fmr", "'a b.nii' run.txt", "'a b.nii' c.nii",
                                "none.map c.nii", "'a b.nii' run.fmr --reference 'a b.nii'",
                                "'a b.nii' no/run.fmr", "'a b.nii' run.dmr --bvec v"}) {
    EXPECT_EQ(run(arguments), 1) << arguments;
    EXPECT_THAT(messages, testing::StartsWith("Error: ")) << arguments;
    EXPECT_EQ(std::count(messages.begin(), messages.end(), '\n'), 1) << messages;
    EXPECT_EQ(output, "");
  }
  EXPECT_THAT(folder.names(), testing::ElementsAre("a b.nii", "err.txt", "out.txt"));
}

TEST_F(ConvertCommand, MissingArgumentsAreStatus2) {
  EXPECT_EQ(run("'a b.nii'"), 2);
  EXPECT_EQ(run("'a b.nii' run.fmr --unknown"), 2);
}

}  // namespace mirel

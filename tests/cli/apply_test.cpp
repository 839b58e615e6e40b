#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "cli/program.h"
#include "files/mapfile.h"
#include "files/mydmr.h"
#include "files/myfmr.h"

namespace mirel {

namespace {

using testing::HasSubstr;
using testing::Not;

/// Every voxel shows the row one further: a map of 1.
Map mapOfOnes(int dimX, int dimY, int dimZ) {
  Map map;
  map.header.dimX = dimX;
  map.header.dimY = dimY;
  map.header.dimZ = dimZ;
  map.values.assign(static_cast<std::size_t>(dimX * dimY * dimZ), 1.0f);
  return map;
}

class ApplyCommand : public testing::Test {
 protected:
  void SetUp() override { writeMapFile(vdm, mapOfOnes(6, 8, 4)); }

  ProgramResult apply(const std::vector<std::string>& files,
                      const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments = {"apply", "--vdm", vdm};
    arguments.insert(arguments.end(), files.begin(), files.end());
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runMirel(arguments);
  }

  TemporaryFolder folder;
  const std::string vdm = folder.file("a_vdm.map");
  const std::string run1 = folder.file("run1.fmr");
};

TEST_F(ApplyCommand, SamplesEveryVolumeOneRowFurther) {
  writeFmr(run1, {});
  writeDmr(folder.file("run2.dmr"), {});
  const ProgramResult result = apply({run1, folder.file("run2.dmr")});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "Loading VDM...\nApplying VDM...\nDone.\n");
  EXPECT_THAT(result.out, HasSubstr(folder.file("run1_undist.fmr\n")));
  EXPECT_THAT(result.out, HasSubstr(folder.file("run2_undist.dwi\n")));
  const FMR fmr(folder.file("run1_undist.fmr"), true);
  const DMR dmr(folder.file("run2_undist.dmr"), true);
  for (std::size_t t = 0; t < 2; ++t)
    for (int y = 1; y < 6; ++y) {
      const float expected =
          1000.0f * static_cast<float>(t) + 200 + 10 * static_cast<float>(y + 1) + 3;
      EXPECT_NEAR(fmr.stcData[t].at(3, y, 2), expected, 1e-3f);
      EXPECT_NEAR(dmr.dwiData[t].at(3, y, 2), expected, 1e-3f);
    }
}

TEST_F(ApplyCommand, WithRllrTheShiftIsAlongX) {
  writeMapFile(vdm, mapOfOnes(6, 6, 4));
  ProjectSketch sketch;
  sketch.dims = {6, 6, 4};
  writeFmr(run1, sketch);
  EXPECT_EQ(apply({run1}, {"--rllr"}).status, 0);
  const FMR corrected(folder.file("run1_undist.fmr"), true);
  EXPECT_NEAR(corrected.stcData[0].at(2, 3, 1), 100 + 30 + 3, 1e-3f);
}

TEST_F(ApplyCommand, WithRllrSlicesThatAreNotSquareAreRefused) {
  writeFmr(run1, {});
  const ProgramResult result = apply({run1}, {"--rllr"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("as many columns as rows"));
  EXPECT_FALSE(fileExists(folder.file("run1_undist.fmr")));
}

TEST_F(ApplyCommand, DamagedMapsAreRefusedBeforeThePluginSeesThem) {
  writeFmr(run1, {});
  const std::string whole = textOf(vdm);
  std::string flipped = whole;
  flipped[60] = static_cast<char>(flipped[60] ^ 1);
  for (const std::string& bytes :
       {flipped, whole.substr(0, 100), std::string("a text file"), std::string()}) {
    std::ofstream(vdm, std::ios::binary) << bytes;
    const ProgramResult result = apply({run1});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("Error: cannot read the map " + vdm + ": "));
    EXPECT_THAT(result.err, Not(HasSubstr("Loading VDM")));
    EXPECT_FALSE(fileExists(folder.file("run1_undist.fmr")));
  }
}

TEST_F(ApplyCommand, AMissingMapIsNamed) {
  writeFmr(run1, {});
  std::filesystem::remove(vdm);
  const ProgramResult result = apply({run1});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Error: cannot read the map " + vdm + ": No such file or directory\n");
}

TEST_F(ApplyCommand, AWrongProjectInTheListIsRefusedBeforeAnythingIsWritten) {
  writeFmr(run1, {});
  ProjectSketch other;
  other.dims = {6, 8, 5};
  writeFmr(folder.file("other.fmr"), other);
  for (const char* wrong : {"other.fmr", "none.fmr", "a_vdm.map"}) {
    const ProgramResult result = apply({run1, folder.file(wrong)});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr(folder.file(wrong)));
    EXPECT_FALSE(fileExists(folder.file("run1_undist.fmr")));
  }
}

TEST_F(ApplyCommand, AnEarlierCopyInTheListIsNotOverwritten) {
  writeFmr(run1, {});
  ASSERT_EQ(apply({run1}).status, 0);
  const std::string copy = folder.file("run1_undist.fmr");
  const std::string before = textOf(folder.file("run1_undist.stc"));
  EXPECT_THAT(apply({run1, copy}).err, HasSubstr("would overwrite " + copy));
  EXPECT_EQ(textOf(folder.file("run1_undist.stc")), before);
  EXPECT_EQ(apply({run1}).status, 0) << "a second run alone replaces the copy";
}

// 40 names in a folder of a longer name exceed the plugin's 511 bytes.
TEST_F(ApplyCommand, AListThatDoesNotFitIsWorkedOffFileByFile) {
  std::vector<std::string> files;
  for (int i = 0; i < 40; ++i) {
    files.push_back(folder.file("run" + std::to_string(i) + ".fmr"));
    writeFmr(files.back(), {});
  }
  const ProgramResult result = apply(files);
  EXPECT_EQ(result.status, 0);
  for (int i = 0; i < 40; ++i)
    EXPECT_TRUE(fileExists(folder.file("run" + std::to_string(i) + "_undist.stc"))) << i;
}

TEST_F(ApplyCommand, NamesThatAreTooLongAreRefused) {
  writeFmr(run1, {});
  std::string name = folder.file("");
  while (name.size() < 600) name += "./";
  EXPECT_THAT(apply({name + "run1.fmr"}).err, HasSubstr("at most 511"));
  EXPECT_THAT(runMirel({"apply", "--vdm", name + "a_vdm.map", run1}).err, HasSubstr("at most 511"));
}

TEST_F(ApplyCommand, ACopyThatCannotBeWrittenIsReported) {
  writeFmr(run1, {});
  std::filesystem::create_directory(folder.file("run1_undist.fmr"));
  const ProgramResult result = apply({run1});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("run1_undist.fmr: a folder has this name"));
}

}  // namespace

}  // namespace mirel

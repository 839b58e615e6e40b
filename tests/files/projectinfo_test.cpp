#include "files/projectinfo.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "base/error.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ProjectInfoTest : public testing::Test {
 protected:
  std::string refusal(const std::string& name) const {
    try {
      readProjectInfo(name);
    } catch (const Error& failure) {
      return failure.what();
    }
    return "";
  }

  TemporaryFolder folder;
};

TEST_F(ProjectInfoTest, ReadsTheHeaderOfAnFmr) {
  ProjectSketch sketch;
  sketch.moreLines = "TR: 2000\nTE: 30\n";
  writeFmr(folder.file("run1.fmr"), sketch);
  const ProjectInfo info = readProjectInfo(folder.file("run1.fmr"));
  EXPECT_EQ(info.kind, ProjectKind::fmr);
  EXPECT_EQ(info.dimensionText(), "6x8x4");
  EXPECT_EQ(info.volumes, 2);
  EXPECT_EQ(info.voxelXMm, 2.0f);
  EXPECT_EQ(info.voxelYMm, 3.0f);
  EXPECT_EQ(info.sliceThicknessMm, 2.5f);
  EXPECT_EQ(info.sliceGapMm, 0.5f);
  EXPECT_EQ(info.repetitionTimeMs, 2000);
  EXPECT_EQ(info.echoTimeMs, 30);
  EXPECT_EQ(info.dataFileName, folder.file("run1.stc"));
  EXPECT_EQ(info.expectedDataBytes(), 6u * 8 * 4 * 2 * 4);
  EXPECT_THAT(voxelSizeWarnings(info), IsEmpty());
  EXPECT_THAT(dataFileWarnings(info), IsEmpty());
}

TEST_F(ProjectInfoTest, ReadsTheHeaderOfADmr) {
  ProjectSketch sketch;
  sketch.dataType = 1;
  sketch.displayVolume = 1;
  writeDmr(folder.file("dwi.dmr"), sketch);
  const ProjectInfo info = readProjectInfo(folder.file("dwi.dmr"));
  EXPECT_EQ(info.kind, ProjectKind::dmr);
  EXPECT_EQ(info.displayVolume, 1);
  EXPECT_EQ(info.bytesPerSample, 2);
  EXPECT_EQ(info.gradientDirections, 0);
  EXPECT_EQ(info.dataFileName, folder.file("dwi.dwi"));
}

TEST_F(ProjectInfoTest, ReadsNoData) {
  writeFmr(folder.file("run1.fmr"), {});
  std::filesystem::remove(folder.file("run1.stc"));
  EXPECT_EQ(readProjectInfo(folder.file("run1.fmr")).volumes, 2);
}

TEST_F(ProjectInfoTest, MissingVoxelSizesAreWarnedAboutOneByOne) {
  std::ofstream(folder.file("bare.fmr")) << "NrOfVolumes: 1\nNrOfSlices: 1\nResolutionX: 2\n"
                                            "ResolutionY: 2\nInplaneResolutionX: 0\n"
                                            "InplaneResolutionY: -1\n\n";
  const auto warnings = voxelSizeWarnings(readProjectInfo(folder.file("bare.fmr")));
  EXPECT_THAT(warnings, ElementsAre(HasSubstr("InplaneResolutionX is 0 mm"),
                                    HasSubstr("InplaneResolutionY is -1 mm"),
                                    HasSubstr("SliceThickness + SliceGap is 0 mm")));
  EXPECT_THAT(warnings[0], HasSubstr(folder.file("bare.fmr")));
}

TEST_F(ProjectInfoTest, AShortDataFileIsWarnedAbout) {
  writeFmr(folder.file("run1.fmr"), {});
  std::filesystem::resize_file(folder.file("run1.stc"), 100);
  EXPECT_THAT(dataFileWarnings(readProjectInfo(folder.file("run1.fmr"))),
              ElementsAre(HasSubstr("run1.stc has 100 bytes where")));
}

TEST_F(ProjectInfoTest, RefusalsNameTheFile) {
  std::filesystem::create_directory(folder.file("folder.fmr"));
  writeFmr(folder.file("RUN.FMR"), {});
  std::ofstream(folder.file("empty.fmr")) << "";
  std::ofstream(folder.file("negative.fmr"))
      << "NrOfVolumes: 1\nNrOfSlices: 4\nResolutionX: -2\nResolutionY: 2\n\n";
  std::ofstream(folder.file("novolumes.dmr"))
      << "NrOfVolumes: 0\nNrOfSlices: 4\nResolutionX: 2\nResolutionY: 2\n\n";
  for (const char* name : {"none.fmr", "RUN.FMR", "fmr", "run.nii", "folder.fmr", "empty.fmr",
                           "negative.fmr", "novolumes.dmr"})
    EXPECT_THAT(refusal(folder.file(name)), HasSubstr(folder.file(name)));
}

}  // namespace

}  // namespace mirel

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "cli/program.h"
#include "files/mapfile.h"
#include "files/mydmr.h"
#include "files/myfmr.h"

namespace mirel {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class EstimateCommand : public testing::Test {
 protected:
  void SetUp() override {
    writeFmr(ap, distortedBall(1.5f));
    writeFmr(pa, distortedBall(-1.5f));
  }

  ProgramResult estimate(std::vector<std::string> options) {
    options.insert(options.begin(), "estimate");
    return runMirel(options);
  }

  bool noMapWasWritten() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder.file("")))
      if (entry.path().extension() == ".map") return false;
    return true;
  }

  TemporaryFolder folder;
  const std::string ap = folder.file("ap.fmr");
  const std::string pa = folder.file("pa.fmr");
};

double rootMeanSquareDifference(const Volume<float>& a, const Volume<float>& b) {
  double sum = 0;
  for (int i = 0; i < a.size(); ++i) sum += std::pow(a.data()[i] - b.data()[i], 2.0);
  return std::sqrt(sum / a.size());
}

TEST_F(EstimateCommand, WritesBothMapsNamesThemAndLogsTheSteps) {
  const ProgramResult result = estimate({ap, pa, "--fast"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, folder.file("ap_vdm.map\n") + folder.file("pa_vdm.map\n"));
  EXPECT_THAT(result.err, StartsWith("Estimating voxel displacement maps...\n"));
  EXPECT_THAT(result.err, HasSubstr("Saving voxel displacement maps to .map files...\nDone.\n"));
  const Map first = readMapFile(folder.file("ap_vdm.map"));
  const Map second = readMapFile(folder.file("pa_vdm.map"));
  EXPECT_EQ(first.header.dimX, 24);
  EXPECT_EQ(first.header.dimY, 28);
  EXPECT_EQ(first.header.dimZ, 20);
  EXPECT_EQ(first.header.kind, 1);
  EXPECT_EQ(first.header.param1, 1.0f);
  EXPECT_EQ(first.header.param2, 5.0f);
  for (std::size_t i = 0; i < first.values.size(); ++i)
    ASSERT_EQ(second.values[i], -first.values[i]) << i;
}

// The ball's rows show what lies 1.5 voxels further in its middle: the map there is the opposite.
TEST_F(EstimateCommand, FindsTheDisplacement) {
  ASSERT_EQ(estimate({ap, pa}).status, 0);
  const Map map = readMapFile(folder.file("ap_vdm.map"));
  const float middle = map.values[(10 * 28 + 14) * 24 + 12];
  EXPECT_NEAR(middle, -1.5f, 0.6f);
}

TEST_F(EstimateCommand, ApplyBringsTheTwoProjectsTogether) {
  const ProgramResult result = estimate({ap, pa, "--apply"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr(folder.file("ap_undist.fmr\n")));
  EXPECT_THAT(result.out, HasSubstr(folder.file("pa_undist.stc\n")));
  const FMR before[] = {FMR(ap, true), FMR(pa, true)};
  const FMR after[] = {FMR(folder.file("ap_undist.fmr"), true),
                       FMR(folder.file("pa_undist.fmr"), true)};
  ASSERT_EQ(after[0].stcData.size(), 2u);
  EXPECT_LT(rootMeanSquareDifference(after[0].stcData[1], after[1].stcData[1]),
            0.4 * rootMeanSquareDifference(before[0].stcData[1], before[1].stcData[1]));
}

TEST_F(EstimateCommand, TheDefaultIsNccAndSsdIsAnOption) {
  EXPECT_THAT(estimate({ap, pa}).err, HasSubstr("Finished iteration with NCC"));
  EXPECT_THAT(estimate({ap, pa, "--ncc"}).err, HasSubstr("Finished iteration with NCC"));
  EXPECT_THAT(estimate({ap, pa, "--ssd"}).err, HasSubstr("Finished iteration with SSD"));
  EXPECT_EQ(estimate({ap, pa, "--ssd", "--ncc"}).status, 2);
}

TEST_F(EstimateCommand, DerivativesAreWrittenOnRequest) {
  EXPECT_EQ(estimate({ap, pa, "--fast", "--save-derivative"}).status, 0);
  const Map derivative = readMapFile(folder.file("ap_vdmderiv.map"));
  EXPECT_EQ(derivative.header.param1, 0.1f);
  EXPECT_EQ(derivative.header.param2, 1.0f);
  EXPECT_TRUE(fileExists(folder.file("pa_vdmderiv.map")));
}

TEST_F(EstimateCommand, WithRllrTheMapKeepsTheProjectsOrientation) {
  EXPECT_EQ(estimate({ap, pa, "--fast", "--rllr", "--apply"}).status, 0);
  const Map map = readMapFile(folder.file("ap_vdm.map"));
  EXPECT_EQ(map.header.dimX, 24);
  EXPECT_EQ(map.header.dimY, 28);
  EXPECT_EQ(FMR(folder.file("ap_undist.fmr"), true).stcData[0].nx(), 24);
}

TEST_F(EstimateCommand, WorksOnDmrsAndOnMixedPairs) {
  writeDmr(folder.file("c.dmr"), distortedBall(1.5f));
  writeDmr(folder.file("d.dmr"), distortedBall(-1.5f));
  EXPECT_EQ(estimate({folder.file("c.dmr"), folder.file("d.dmr"), "--fast", "--apply"}).status, 0);
  EXPECT_EQ(DMR(folder.file("c_undist.dmr"), true).dwiData.size(), 2u);
  EXPECT_EQ(estimate({ap, folder.file("d.dmr"), "--fast"}).status, 0);
  EXPECT_EQ(estimate({folder.file("c.dmr"), pa, "--fast"}).status, 0);
  EXPECT_EQ(readMapFile(folder.file("c_vdm.map")).values,
            readMapFile(folder.file("ap_vdm.map")).values);
}

TEST_F(EstimateCommand, ProjectsWithTheSameMapNameAreRefusedBeforeAnythingIsWritten) {
  writeDmr(folder.file("ap.dmr"), distortedBall(-1.5f));
  const ProgramResult result = estimate({ap, folder.file("ap.dmr"), "--fast"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("ap_vdm.map"));
  EXPECT_TRUE(noMapWasWritten());
  EXPECT_THAT(estimate({ap, folder.file("./ap.fmr"), "--fast"}).err, HasSubstr("same file"));
  EXPECT_TRUE(noMapWasWritten());
}

TEST_F(EstimateCommand, ACopyThatWouldOverwriteAnInputIsRefused) {
  writeFmr(folder.file("ap_undist.fmr"), distortedBall(-1.5f));
  const std::string other = folder.file("ap_undist.fmr");
  EXPECT_THAT(estimate({ap, other, "--fast", "--apply"}).err, HasSubstr("would overwrite"));
  EXPECT_TRUE(noMapWasWritten());
  EXPECT_EQ(estimate({ap, other, "--fast"}).status, 0);
}

TEST_F(EstimateCommand, OtherDimensionsAreRefusedWithBothNames) {
  writeFmr(folder.file("small.fmr"), {});
  const ProgramResult result = estimate({ap, folder.file("small.fmr")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("small.fmr is 6x8x4 voxels, but " + ap + " is 24x28x20"));
}

TEST_F(EstimateCommand, TheVolumesAreChosenByZeroBasedIndex) {
  EXPECT_EQ(estimate({ap, pa, "--fast", "--volume0", "1", "--volume1", "0"}).status, 0);
  const ProgramResult beyond = estimate({ap, pa, "--fast", "--volume1", "2"});
  EXPECT_EQ(beyond.status, 1);
  EXPECT_THAT(beyond.err, HasSubstr("Error: Cannot use volume 2 of file " + pa +
                                    ", which has only 2 volumes."));
  EXPECT_EQ(estimate({ap, pa, "--volume0", "-1"}).status, 2);
  EXPECT_EQ(estimate({ap, pa, "--volume0", "one"}).status, 2);
}

TEST_F(EstimateCommand, AHeaderWithoutVoxelSizesIsReportedAndTheEstimateGoesOn) {
  ProjectSketch sketch = distortedBall(1.5f);
  sketch.voxelSizeY = 0;
  writeFmr(ap, sketch);
  const ProgramResult result = estimate({ap, pa, "--fast"});
  EXPECT_THAT(result.err, StartsWith("Warning: " + ap));
  EXPECT_THAT(result.err, HasSubstr("InplaneResolutionY is 0 mm"));
  EXPECT_THAT(result.err, HasSubstr("Estimating voxel displacement maps..."));
}

TEST_F(EstimateCommand, AMapThatIsNotFiniteIsRefusedAndNothingIsCorrectedWithIt) {
  for (const char* const file : {"ap.fmr", "pa.fmr"}) {
    ProjectSketch sketch = distortedBall(file[0] == 'a' ? 1.5f : -1.5f);
    sketch.voxelSizeY = 25;  // cm for mm, and some more
    writeFmr(folder.file(file), sketch);
  }
  const ProgramResult result = estimate({ap, pa, "--fast", "--apply"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("Error: " + folder.file("ap_vdm.map") + " is no usable map: "));
  EXPECT_TRUE(noMapWasWritten());
  EXPECT_FALSE(folder.exists("ap_undist.fmr"));
}

TEST_F(EstimateCommand, AShortDataFileIsReported) {
  std::filesystem::resize_file(folder.file("pa.stc"), 40000);
  EXPECT_THAT(estimate({ap, pa, "--fast"}).err, HasSubstr("Warning: " + folder.file("pa.stc")));
}

TEST_F(EstimateCommand, MissingFilesAreNamed) {
  EXPECT_THAT(estimate({folder.file("none.fmr"), pa}).err,
              HasSubstr("Error: there is no file " + folder.file("none.fmr")));
  std::filesystem::remove(folder.file("pa.stc"));
  const ProgramResult result = estimate({ap, pa});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("Failed opening STC for reading: " + folder.file("pa.stc")));
  EXPECT_EQ(result.out, "");
}

TEST_F(EstimateCommand, OtherExtensionsAreRefused) {
  EXPECT_THAT(estimate({folder.file("ap.stc"), pa}).err, HasSubstr("not an FMR or DMR project"));
}

TEST_F(EstimateCommand, ANameThatIsTooLongIsRefused) {
  std::string name = folder.file("");
  while (name.size() < 600) name += "./";
  const ProgramResult result = estimate({name + "ap.fmr", pa});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("at most 511"));
  EXPECT_TRUE(noMapWasWritten());
}

TEST_F(EstimateCommand, ANameOf511BytesWorks) {
  std::string name = folder.file("");
  while (name.size() + 2 + 6 <= 511) name += "./";
  if (name.size() + 6 < 511) name += "/";
  name += "ap.fmr";
  ASSERT_EQ(name.size(), 511u);
  EXPECT_EQ(estimate({name, pa, "--fast"}).status, 0);
}

TEST_F(EstimateCommand, InputsStayAsTheyAre) {
  const std::string header = textOf(ap);
  const std::string data = textOf(folder.file("ap.stc"));
  ASSERT_EQ(estimate({ap, pa, "--fast", "--apply"}).status, 0);
  EXPECT_EQ(textOf(ap), header);
  EXPECT_EQ(textOf(folder.file("ap.stc")), data);
}

}  // namespace

}  // namespace mirel

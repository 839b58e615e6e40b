#include <sstream>

#include "files/mydmr.h"
#include "files/myfmr.h"
#include "numerics/volumegauss.h"
#include "support/fftw_binding.h"
#include "tasks/taskhost.h"
#include "vdm/estimatepair.h"
#include "vdm/vdm.h"

namespace mirel {

using testing::ElementsAre;

namespace {

// A bright ball, shifted by `shift` rows, with some texture.
float ball(int x, int y, int z, glm::ivec3 dims, float shift) {
  const float dx = static_cast<float>(x) - static_cast<float>(dims.x) / 2;
  const float dy = static_cast<float>(y) - static_cast<float>(dims.y) / 2 - shift;
  const float dz = static_cast<float>(z) - static_cast<float>(dims.z) / 2;
  const float r = dx * dx + dy * dy + 4 * dz * dz;
  return r < 20 ? 800 - 20 * r + 30 * dy : 0;
}

class EstimateTask : public TaskTest {
 protected:
  void SetUp() override {
    TaskTest::SetUp();
    bindFftw();
    sketch.dims = {10, 12, 6};
    testHost().mapDims = sketch.dims;
    testHost().integers["fast_algorithm"] = 1;
    testHost().strings["file0"] = file("ap.fmr");
    testHost().strings["file1"] = file("pa.fmr");
  }

  void writePair() {
    writeFmr(file("ap.fmr"), shifted(-1));
    writeFmr(file("pa.fmr"), shifted(1));
  }

  ProjectSketch shifted(float shift) const {
    ProjectSketch result = sketch;
    result.voxel = [dims = sketch.dims, shift](int x, int y, int z, int t) {
      return ball(x, y, z, dims, shift) + static_cast<float>(t);
    };
    return result;
  }

  Volume<float> savedMap(const std::string& name) const {
    return testHost().savedMaps.at(file(name)).map;
  }

  Volume<float> expectedMap(const EstimateOptions& options, bool rllr) const {
    const FMR ap(file("ap.fmr"), true), pa(file("pa.fmr"), true);
    const glm::dvec3 size(2, 3, 3);
    std::ostringstream log;
    if (!rllr) return estimatePair(ap.stcData[0], pa.stcData[0], size, options, log);
    return estimatePair(ap.stcData[0].transposeXY(), pa.stcData[0].transposeXY(),
                        {size.y, size.x, size.z}, options, log)
        .transposeXY();
  }

  ProjectSketch sketch;
};

}  // namespace

TEST_F(EstimateTask, ReadsParametersLogsAndSavesInOrder) {
  writePair();
  run("estimate");
  const auto calls = testHost().callsWithoutFft();
  const std::vector<std::string> beginning(calls.begin(), calls.begin() + 13);
  EXPECT_THAT(
      beginning,
      ElementsAre("ztGetStringParameter task", "ztShowBusyCursor", "ztGetStringParameter file0",
                  "ztGetStringParameter file1", "ztGetIntParameter volume0",
                  "ztGetIntParameter volume1", "ztGetIntParameter rllr", "ztGetIntParameter use_ic",
                  "ztGetIntParameter use_ssd", "ztGetIntParameter apply_to_input",
                  "ztGetIntParameter save_derivative", "ztGetIntParameter fast_algorithm",
                  "ztLogText Estimating voxel displacement maps..."));
  const std::vector<std::string> ending(calls.begin() + 15, calls.end());
  EXPECT_THAT(
      ending,
      ElementsAre("ztLogText Saving voxel displacement maps to .map files...",
                  "ztCreateMAPForCurrentFMR", "ztGetMAPOfCurrentFMR",
                  "ztSetMAPParametersOfCurrentFMR", "ztSaveMAPsOfCurrentFMR " + file("ap_vdm.map"),
                  "ztCreateMAPForCurrentFMR", "ztGetMAPOfCurrentFMR",
                  "ztSetMAPParametersOfCurrentFMR", "ztSaveMAPsOfCurrentFMR " + file("pa_vdm.map"),
                  "ztLogText Done.", "ztStopBusyCursor"));
}

TEST_F(EstimateTask, FastPathLogsTheEstimatorsTwoLinesBetween) {
  writePair();
  run("estimate");
  ASSERT_EQ(testHost().logLines.size(), 5u);
  EXPECT_THAT(testHost().logLines[1], testing::StartsWith("SSD of original AP and PA volumes: "));
  EXPECT_THAT(testHost().logLines[2], testing::StartsWith("SSD after applying column wise VDM: "));
}

TEST_F(EstimateTask, SavesTheEstimateAndExactlyItsNegation) {
  writePair();
  EstimateOptions options;
  for (const bool fast : {true, false}) {
    options.fast = fast;
    testHost().integers["fast_algorithm"] = fast;
    run("estimate");
    EXPECT_EQ(savedMap("ap_vdm.map"), expectedMap(options, false));
    EXPECT_EQ(savedMap("pa_vdm.map"), savedMap("ap_vdm.map") * -1.0f);
    EXPECT_NE(savedMap("ap_vdm.map"), Volume<float>(sketch.dims, 0.0f));
  }
}

TEST_F(EstimateTask, PassesTheSwitchesToTheFullEstimate) {
  writePair();
  testHost().integers["fast_algorithm"] = 0;
  EstimateOptions options;
  for (const bool ssd : {false, true})
    for (const bool ic : {false, true}) {
      options.useSsd = ssd;
      options.intensityCorrection = ic;
      testHost().integers["use_ssd"] = ssd;
      testHost().integers["use_ic"] = ic ? 3 : 0;  // any value but 0 is on
      run("estimate");
      EXPECT_EQ(savedMap("ap_vdm.map"), expectedMap(options, false));
    }
}

TEST_F(EstimateTask, TransposesImagesAndMapsWithRllr) {
  writePair();
  testHost().integers["rllr"] = 1;
  run("estimate");
  EXPECT_THAT(testHost().boxes, testing::IsEmpty());
  EstimateOptions options;
  options.fast = true;
  EXPECT_EQ(savedMap("ap_vdm.map"), expectedMap(options, true));
}

TEST_F(EstimateTask, SavesParametersThatDifferForMapsAndDerivatives) {
  writePair();
  testHost().integers["save_derivative"] = 1;
  run("estimate");
  const auto& map = testHost().savedMaps.at(file("ap_vdm.map"));
  EXPECT_EQ(map.kind, 1);
  EXPECT_EQ(map.flag, 0);
  EXPECT_EQ(map.untouched, 77);
  EXPECT_EQ(map.parameter1, 1.0f);
  EXPECT_EQ(map.parameter2, 5.0f);
  const auto& derivative = testHost().savedMaps.at(file("ap_vdmderiv.map"));
  EXPECT_EQ(derivative.parameter1, 0.1f);
  EXPECT_EQ(derivative.parameter2, 1.0f);
  EXPECT_EQ(derivative.map, getSimpleYDerivative(map.map));
  EXPECT_EQ(savedMap("pa_vdmderiv.map"), derivative.map * -1.0f);
}

TEST_F(EstimateTask, SavesNoDerivativesUnlessAsked) {
  writePair();
  run("estimate");
  EXPECT_EQ(testHost().savedMaps.size(), 2u);
  EXPECT_FALSE(fileExists(file("ap_undist.fmr")));
}

TEST_F(EstimateTask, AppliesTheMapsToBothLoadedProjects) {
  writePair();
  testHost().integers["apply_to_input"] = 1;
  run("estimate");
  EXPECT_EQ(testHost().logLines[testHost().logLines.size() - 2],
            "Applying voxel displacement maps...");
  const FMR ap(file("ap.fmr"), true), apCorrected(file("ap_undist.fmr"), true);
  const FMR pa(file("pa.fmr"), true), paCorrected(file("pa_undist.fmr"), true);
  ASSERT_EQ(apCorrected.stcData.size(), 2u);
  for (std::size_t t = 0; t < 2; ++t) {
    EXPECT_EQ(apCorrected.stcData[t],
              applyVdm(savedMap("ap_vdm.map"), ap.stcData[t], false, false));
    EXPECT_EQ(paCorrected.stcData[t],
              applyVdm(savedMap("pa_vdm.map"), pa.stcData[t], false, false));
  }
}

TEST_F(EstimateTask, AcceptsAnFmrWithADmrAndTakesTheVoxelSizeFromTheFirst) {
  writeFmr(file("ap.fmr"), shifted(-1));
  ProjectSketch other = shifted(1);
  other.voxelSizeY = 1;
  writeDmr(file("pa.dmr"), other);
  writeFmr(file("pa.fmr"), shifted(1));
  testHost().strings["file1"] = file("pa.dmr");
  testHost().integers["apply_to_input"] = 1;
  run("estimate");
  EstimateOptions options;
  options.fast = true;
  EXPECT_EQ(savedMap("ap_vdm.map"), expectedMap(options, false));
  const DMR corrected(file("pa_undist.dmr"), true);
  EXPECT_EQ(corrected.dwiData.size(), 2u);
}

TEST_F(EstimateTask, ReportsDifferentDimensionsBeforeVolumeIndices) {
  writePair();
  ProjectSketch other = shifted(1);
  other.dims.z = 5;
  writeFmr(file("pa.fmr"), other);
  testHost().integers["volume0"] = 99;
  run("estimate");
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: All datasets must have the same dimensions!"));
}

TEST_F(EstimateTask, RefusesAVolumeThatDoesNotExist) {
  writePair();
  testHost().integers["volume1"] = 2;
  run("estimate");
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: Cannot use volume 2 of file " + file("pa.fmr") +
                                            ", which has only 2 volumes."));
}

TEST_F(EstimateTask, KeepsPrintingANegativeIndexAsUnsigned) {
  writePair();
  testHost().integers["volume0"] = -1;
  testHost().integers["volume1"] = 2;
  run("estimate");
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: Cannot use volume 4294967295 of file " +
                                            file("ap.fmr") + ", which has only 2 volumes."));
}

TEST_F(EstimateTask, RefusesAProjectWithoutVolumes) {
  writePair();
  ProjectSketch empty = shifted(1);
  empty.volumes = 0;
  writeFmr(file("pa.fmr"), empty);
  run("estimate");
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: File " + file("pa.fmr") + " has no volumes."));
}

TEST_F(EstimateTask, TriesWhatIsNoFmrAsADmr) {
  writePair();
  testHost().strings["file1"] = file("pa.txt");
  run("estimate");
  EXPECT_THAT(testHost().boxes,
              ElementsAre("Error: Failed opening for reading: " + file("pa.txt")));
}

TEST_F(EstimateTask, SavesNothingWhenTheHostsMapHasOtherDimensions) {
  writePair();
  testHost().mapDims.z -= 1;
  run("estimate");
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: assertion failure (src/plugin/distcor.cpp:98): "
                                            "dim.z == header.DimZ"));
  EXPECT_TRUE(testHost().savedMaps.empty());
  testHost().mapDims = {sketch.dims.x, 1, sketch.dims.z};
  run("estimate");
  EXPECT_THAT(testHost().boxes.back(), testing::HasSubstr(":99): dim.y == header.DimY"));
  testHost().mapDims = {1, sketch.dims.y, sketch.dims.z};
  run("estimate");
  EXPECT_THAT(testHost().boxes.back(), testing::HasSubstr(":100): dim.x == header.DimX"));
}

TEST_F(EstimateTask, SavesNothingWithoutAHostMap) {
  writePair();
  testHost().hasMap = false;
  run("estimate");
  EXPECT_THAT(testHost().boxes.back(), testing::HasSubstr(":97): slices != nullptr"));
  EXPECT_TRUE(testHost().savedMaps.empty());
}

TEST_F(EstimateTask, SurvivesAHeaderWithoutVoxelSizes) {
  sketch.voxelSizeX = sketch.voxelSizeY = sketch.sliceThickness = sketch.sliceGap = 0;
  writePair();
  for (const int fast : {1, 0}) {
    testHost().integers["fast_algorithm"] = fast;
    run("estimate");
    EXPECT_THAT(testHost().boxes, testing::IsEmpty());
    EXPECT_EQ(testHost().logLines.back(), "Done.");
  }
}

}  // namespace mirel

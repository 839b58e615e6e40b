#include "files/mydmr.h"
#include "files/myfmr.h"
#include "tasks/taskhost.h"
#include "vdm/vdm.h"

namespace mirel {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ApplyTask : public TaskTest {
 protected:
  void SetUp() override {
    TaskTest::SetUp();
    setMap({6, 8, 4});
    testHost().strings["vdm"] = "stored_vdm.map";
  }

  // A map in the host's orientation with a gentle slope.
  void setMap(glm::ivec3 dims) {
    map = Volume<float>(dims);
    for (int i = 0; i < map.size(); ++i) map.data()[i] = 0.01f * static_cast<float>(i % 97) - 0.3f;
    testHost().savedMaps["stored_vdm.map"].map = map;
  }

  Volume<float> map;
};

}  // namespace

TEST_F(ApplyTask, WithoutFilesLoadsTheMapAndIsDone) {
  run("apply");
  EXPECT_THAT(testHost().calls,
              ElementsAre("ztGetStringParameter task", "ztShowBusyCursor", "ztGetIntParameter rllr",
                          "ztGetStringParameter vdm", "ztGetStringParameter files",
                          "ztLogText Loading VDM...", "ztLoadMAPsToCurrentFMR stored_vdm.map",
                          "ztGetMAPOfCurrentFMR", "ztLogText Applying VDM...", "ztLogText Done.",
                          "ztStopBusyCursor"));
}

TEST_F(ApplyTask, CorrectsFmrAndDmrAndKeepsSkippingOtherNames) {
  writeFmr(file("a.fmr"), {});
  writeDmr(file("b.dmr"), {});
  writeFmr(file("c.fmr"), {});
  testHost().strings["files"] =
      file("a.fmr") + "\n" + file("x.vtc") + "\n" + file("b.dmr") + "\n" + file("c.fmr");
  run("apply");
  EXPECT_THAT(testHost().boxes, IsEmpty());
  const FMR a(file("a.fmr"), true), aCorrected(file("a_undist.fmr"), true);
  const DMR b(file("b.dmr"), true), bCorrected(file("b_undist.dmr"), true);
  for (std::size_t t = 0; t < 2; ++t) {
    EXPECT_EQ(aCorrected.stcData[t], applyVdm(map, a.stcData[t], false, false));
    EXPECT_EQ(bCorrected.dwiData[t], applyVdm(map, b.dwiData[t], false, false));
  }
  EXPECT_TRUE(fileExists(file("c_undist.fmr")));
}

TEST_F(ApplyTask, LeavesTheInputsAsTheyWere) {
  writeFmr(file("a.fmr"), {});
  const std::string header = textOf(file("a.fmr")), data = textOf(file("a.stc"));
  testHost().strings["files"] = file("a.fmr");
  run("apply");
  run("apply");
  EXPECT_EQ(textOf(file("a.fmr")), header);
  EXPECT_EQ(textOf(file("a.stc")), data);
  EXPECT_NE(textOf(file("a_undist.stc")), data);
}

TEST_F(ApplyTask, TransposesTheMapWithRllr) {
  ProjectSketch square;
  square.dims = {6, 6, 4};
  setMap(square.dims);
  writeFmr(file("a.fmr"), square);
  testHost().strings["files"] = file("a.fmr");
  testHost().integers["rllr"] = 1;
  run("apply");
  EXPECT_THAT(testHost().boxes, IsEmpty());
  const FMR a(file("a.fmr"), true), corrected(file("a_undist.fmr"), true);
  EXPECT_EQ(corrected.stcData[0], applyVdm(map.transposeXY(), a.stcData[0], true, false));
}

TEST_F(ApplyTask, KeepsRefusingProjectsThatAreNotSquareWithRllr) {
  writeFmr(file("a.fmr"), {});
  testHost().strings["files"] = file("a.fmr");
  testHost().integers["rllr"] = 1;
  run("apply");
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: All datasets must have the same dimensions!"));
}

TEST_F(ApplyTask, KeepsWhatWasWrittenBeforeAFailure) {
  ProjectSketch other;
  other.dims.z = 3;
  writeFmr(file("a.fmr"), {});
  writeDmr(file("b.dmr"), other);
  writeFmr(file("c.fmr"), {});
  testHost().strings["files"] = file("a.fmr") + "\n" + file("b.dmr") + "\n" + file("c.fmr");
  run("apply");
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: All datasets must have the same dimensions!"));
  EXPECT_TRUE(fileExists(file("a_undist.fmr")));
  EXPECT_FALSE(fileExists(file("c_undist.fmr")));
  EXPECT_THAT(testHost().logLines, ElementsAre("Loading VDM...", "Applying VDM..."));
}

TEST_F(ApplyTask, RefusesAProjectWithoutVolumes) {
  ProjectSketch empty;
  empty.volumes = 0;
  writeDmr(file("a.dmr"), empty);
  testHost().strings["files"] = file("a.dmr");
  run("apply");
  EXPECT_THAT(testHost().boxes, ElementsAre("Error: File " + file("a.dmr") + " has no volumes."));
}

TEST_F(ApplyTask, WithoutAHostMapFailsAsSavingDoes) {
  testHost().hasMap = false;
  run("apply");
  EXPECT_THAT(
      testHost().boxes,
      ElementsAre("Error: assertion failure (src/plugin/distcor.cpp:97): slices != nullptr"));
}

}  // namespace mirel

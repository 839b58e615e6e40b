#include <cstdio>

#include "tasks/taskhost.h"

namespace mirel {

using SelectTask = TaskTest;

TEST_F(SelectTask, CancellingClearsTheFileNameOnly) {
  testHost().integers["nr_of_volumes"] = 7;
  testHost().integers["display_volume"] = 8;
  for (const char* task : {"select_fmr_or_dmr", "select_vdm"}) {
    testHost().strings["filename"] = "before";
    run(task);
    EXPECT_EQ(testHost().strings["filename"], "");
  }
  EXPECT_EQ(testHost().integers["nr_of_volumes"], 7);
  EXPECT_EQ(testHost().integers["display_volume"], 8);
}

TEST_F(SelectTask, FmrProposesItsVolumesAndDisplayVolumeOne) {
  ProjectSketch sketch;
  sketch.volumes = 120;
  sketch.dims = {2, 2, 2};
  writeFmr(file("run.fmr"), sketch);
  testHost().chosenFile = file("run.fmr");
  run("select_fmr_or_dmr");
  EXPECT_EQ(testHost().integers["nr_of_volumes"], 120);
  EXPECT_EQ(testHost().integers["display_volume"], 1);
  EXPECT_EQ(testHost().strings["filename"], file("run.fmr"));
}

TEST_F(SelectTask, FmrIsReadWithoutItsData) {
  writeFmr(file("run.fmr"), {});
  std::remove(file("run.stc").c_str());
  testHost().chosenFile = file("run.fmr");
  run("select_fmr_or_dmr");
  EXPECT_EQ(testHost().strings["filename"], file("run.fmr"));
}

TEST_F(SelectTask, DmrProposesItsHeadersDisplayVolumePlusOne) {
  ProjectSketch sketch;
  sketch.volumes = 6;
  for (const int displayVolume : {0, 4}) {
    sketch.displayVolume = displayVolume;
    writeDmr(file("run.dmr"), sketch);
    testHost().chosenFile = file("run.dmr");
    run("select_fmr_or_dmr");
    EXPECT_EQ(testHost().integers["nr_of_volumes"], 6);
    EXPECT_EQ(testHost().integers["display_volume"], displayVolume + 1);
  }
}

TEST_F(SelectTask, DmrIsKeptBeingReadWhole) {
  writeDmr(file("run.dmr"), {});
  std::remove(file("run.dwi").c_str());
  testHost().strings["filename"] = "before";
  testHost().chosenFile = file("run.dmr");
  run("select_fmr_or_dmr");
  EXPECT_THAT(testHost().boxes,
              testing::ElementsAre("Error: Failed opening for reading: " + file("run.dwi")));
  EXPECT_EQ(testHost().strings["filename"], "before");
}

TEST_F(SelectTask, OtherExtensionsOnlyChangeTheFileName) {
  for (const char* name : {"run.FMR", "run.vtc", "/no/such/place"}) {
    testHost().chosenFile = name;
    run("select_fmr_or_dmr");
    EXPECT_EQ(testHost().strings["filename"], name);
  }
  EXPECT_EQ(testHost().integers.count("nr_of_volumes"), 0u);
  EXPECT_THAT(testHost().boxes, testing::IsEmpty());
}

TEST_F(SelectTask, VdmIsNotTested) {
  testHost().chosenFile = "/no/such/run_vdm.map";
  run("select_vdm");
  EXPECT_EQ(testHost().strings["filename"], "/no/such/run_vdm.map");
}

}  // namespace mirel

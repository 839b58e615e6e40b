#include <gmock/gmock.h>

#include <fstream>

#include "cli/program.h"

namespace mirel {

namespace {

using testing::HasSubstr;

TEST(SelectCommand, AnFmrProposesVolumeOne) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), {});
  const ProgramResult result = runMirel({"select", folder.file("a.fmr")});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "filename: " + folder.file("a.fmr") + "\nnr_of_volumes: 2\ndisplay_volume: 1\n");
}

TEST(SelectCommand, ADmrProposesItsDisplayVolume) {
  const TemporaryFolder folder;
  ProjectSketch sketch;
  sketch.volumes = 6;
  sketch.displayVolume = 4;
  writeDmr(folder.file("a.dmr"), sketch);
  const ProgramResult result = runMirel({"select", folder.file("a.dmr")});
  EXPECT_EQ(result.out,
            "filename: " + folder.file("a.dmr") + "\nnr_of_volumes: 6\ndisplay_volume: 5\n");
}

TEST(SelectCommand, AMapIsTakenAsItIs) {
  const TemporaryFolder folder;
  std::ofstream(folder.file("a_vdm.map")) << "anything";
  const ProgramResult result = runMirel({"select", folder.file("a_vdm.map")});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "filename: " + folder.file("a_vdm.map") + "\n");
}

TEST(SelectCommand, WhatCannotBePickedIsNamed) {
  const TemporaryFolder folder;
  std::ofstream(folder.file("a.txt")) << "anything";
  for (const char* name : {"a.txt", "none.fmr", "none_vdm.map", "other.map"}) {
    const ProgramResult result = runMirel({"select", folder.file(name)});
    EXPECT_EQ(result.status, 1) << name;
    EXPECT_THAT(result.err, HasSubstr(folder.file(name)));
    EXPECT_EQ(result.out, "");
  }
}

TEST(SelectCommand, AProjectThatCannotBeReadFails) {
  const TemporaryFolder folder;
  std::ofstream(folder.file("a.dmr")) << "NrOfVolumes: 2\nResolutionX: 4\nResolutionY: 4\n"
                                         "NrOfSlices: 2\nPrefix: nowhere\n\n";
  const ProgramResult result = runMirel({"select", folder.file("a.dmr")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("Error: Failed opening for reading: "));
}

}  // namespace

}  // namespace mirel

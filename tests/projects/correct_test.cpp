#include "projects/correct.h"

#include <gtest/gtest.h>

#include "support/projectfiles.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

const char* withReference = "LoadAMRFile: \"anatomy.amr\"\nShowAMRFile: 1\n";

ProjectSketch sketchWith(const std::string& lines) {
  ProjectSketch sketch;
  sketch.moreLines = lines;
  return sketch;
}

}  // namespace

TEST(DetachAmr, EmptiesTheLinesThatTheHeaderHas) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), sketchWith(withReference));
  FMR fmr(folder.file("a.fmr"), false);
  detach_amr(fmr);
  EXPECT_EQ(fmr.LoadAMRFile.value(), "");
  EXPECT_FALSE(fmr.ShowAMRFile.value());
  writeDmr(folder.file("b.dmr"), sketchWith(withReference));
  DMR dmr(folder.file("b.dmr"), false);
  detach_amr(dmr);
  EXPECT_EQ(dmr.LoadAMRFile.value(), "");
  EXPECT_FALSE(dmr.ShowAMRFile.value());
}

TEST(CorrectFmr, WritesTheCopyWithoutTheReferenceImage) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), sketchWith(withReference));
  FMR fmr(folder.file("a.fmr"), true);
  correct_fmr(Volume<float>(6, 8, 4, 0.0f), fmr, false);
  const std::string text = textOf(folder.file("a_undist.fmr"));
  EXPECT_NE(text.find("LoadAMRFile: \"\"\n"), std::string::npos);
  EXPECT_NE(text.find("ShowAMRFile: 0\n"), std::string::npos);
  EXPECT_NE(text.find("\"a_undist\""), std::string::npos);
}

TEST(CorrectFmr, AddsNoLinesThatTheInputLacks) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), {});
  FMR fmr(folder.file("a.fmr"), true);
  correct_fmr(Volume<float>(6, 8, 4, 0.0f), fmr, false);
  EXPECT_EQ(textOf(folder.file("a_undist.fmr")).find("AMRFile"), std::string::npos);
}

TEST(CorrectDmr, NamesTheCopyAfterTheNameItWasGiven) {
  const TemporaryFolder folder;
  writeDmr(folder.file("a.dmr"), {});
  DMR dmr(folder.file("a.dmr"), true);
  correct_dmr(Volume<float>(6, 8, 4, 0.0f), folder.file("b.dmr"), dmr, false);
  EXPECT_TRUE(fileExists(folder.file("b_undist.dmr")));
  EXPECT_TRUE(fileExists(folder.file("b_undist.dwi")));
}

TEST(CorrectProject, WritesTheCopyOfEitherKind) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), sketchWith(withReference));
  writeDmr(folder.file("b.dmr"), sketchWith(withReference));
  Volume<float> map(6, 8, 4, 0.0f);
  map.at(3, 4, 2) = 0.75f;
  for (const std::string name : {"a.fmr", "b.dmr"}) {
    const Project before(folder.file(name), ProjectContent::withData);
    Project project = before;
    correctProject(map, project, false);
    const Project copy(correctedProjectName(folder.file(name)), ProjectContent::withData);
    EXPECT_EQ(copy.kind(), before.kind());
    ASSERT_EQ(copy.volumes().size(), before.volumes().size());
    for (std::size_t t = 0; t < copy.volumes().size(); ++t)
      EXPECT_EQ(copy.volumes()[t], applyVdm(map, before.volumes()[t], false, false));
    EXPECT_EQ(copy.header().LoadAMRFile.value(), "");
    EXPECT_TRUE(fileExists(correctedDataName(folder.file(name))));
  }
}

TEST(VolumeDimensions, AreThoseOfTheFirstVolumeInMemory) {
  const TemporaryFolder folder;
  writeDmr(folder.file("b.dmr"), {});
  Project project(folder.file("b.dmr"), ProjectContent::withData);
  EXPECT_EQ(volumeDimensions(project), glm::ivec3(6, 8, 4));
  project.volumes().clear();
  try {
    volumeDimensions(project);
    FAIL();
  } catch (const std::runtime_error& failure) {
    EXPECT_EQ(failure.what(), "File " + folder.file("b.dmr") + " has no volumes.");
  }
}

TEST(CorrectFmr, WithRllrTakesAMapOfTheTransposedDimensions) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), {});
  FMR fmr(folder.file("a.fmr"), true);
  correct_fmr(Volume<float>(8, 6, 4, 0.0f), fmr, true);
  const FMR copy(folder.file("a_undist.fmr"), true);
  EXPECT_EQ(copy.stcData[0].dimensions(), glm::ivec3(6, 8, 4));
  EXPECT_THROW(correct_fmr(Volume<float>(6, 8, 4, 0.0f), fmr, true), std::logic_error);
}

}  // namespace mirel

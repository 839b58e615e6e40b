#include "tasks/correct.h"

#include <gtest/gtest.h>

#include "support/projectfiles.h"

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

// The header lines that functional and diffusion projects have in common, tested on both.
#include "files/projectheader.h"

#include <gtest/gtest.h>

#include <locale>

#include "files/projectkinds.h"

namespace mirel {

namespace {

using projects::replaced;

TYPED_TEST_SUITE(ProjectOf, Kinds);

TYPED_TEST(ProjectOf, ReadsEveryCommonLine) {
  const auto p = this->read(commonHeader);
  EXPECT_EQ(p.fileName, this->headerName());
  EXPECT_EQ(p.FileVersion, 5);
  EXPECT_EQ(p.NrOfVolumes.value(), 2);
  EXPECT_EQ(p.NrOfSkippedVolumes, 1);
  EXPECT_EQ(p.Prefix.value(), "run1");
  EXPECT_EQ(p.DataStorageFormat, 3);
  EXPECT_EQ(p.TR, 2000);
  EXPECT_TRUE(p.TimeResolutionVerified);
  EXPECT_FALSE(p.SliceAcquisitionOrderVerified);
  EXPECT_TRUE(p.SliceAcquisitionOrderVerified.isSet());
  EXPECT_EQ(p.LoadAMRFile.value(), "first vol.amr");
  EXPECT_TRUE(p.ShowAMRFile);
  EXPECT_EQ(p.SegmentOffset, 4);
  EXPECT_EQ(p.InplaneResolutionY, 3.25F);
  EXPECT_EQ(p.SliceGap, 0.75F);
  EXPECT_EQ(p.CoordinateSystem, 2);
  EXPECT_EQ(p.SliceNCenterZ, 0.000001F);
  EXPECT_EQ(p.ColDirZ, -0.173648F);
  EXPECT_EQ(p.NCols, 48);
  EXPECT_EQ(p.GapThickness, 0.5F);
  EXPECT_EQ(p.LeftRightConvention.value(), "Radiological");
  EXPECT_EQ(p.FirstDataSourceFile.value(), "C:\\data\\ima 1.dcm");
}

TYPED_TEST(ProjectOf, WritesEveryCommonLineBackAsItWas) {
  EXPECT_EQ(this->printed(this->read(commonHeader)), replaced(commonHeader, "Ignored: 0\n", ""));
}

TYPED_TEST(ProjectOf, LinesInAnotherOrderAreWrittenInTheOrderOfTheTable) {
  const auto p = this->read("TR: 5\nLeftRightConvention: R\nFileVersion: 7\nSliceGap: 1\nX: 0\n");
  EXPECT_EQ(this->printed(p), "\nFileVersion: 7\nTR: 5\nSliceGap: 1\nLeftRightConvention: R\n\n\n");
}

TYPED_TEST(ProjectOf, UnknownKeysAreSkippedAndNotWrittenBack) {
  const auto p = this->read("Unknown: 12 words TR:5 here\nTR: 5\nOther:\nTE: 6\nX: 0\n");
  EXPECT_EQ(this->printed(p), "\nTR: 5\nTE: 6\n");
}

TYPED_TEST(ProjectOf, KeysAreCaseSensitive) {
  const auto p = this->read("tr: 5\nTR 6\nX: 0\n");
  EXPECT_FALSE(p.TR.isSet());
}

TYPED_TEST(ProjectOf, AnEmptyHeaderLeavesAllUnsetAndTheVersionMinusOne) {
  const auto p = this->read("");
  EXPECT_EQ(p.FileVersion.value(), -1);
  EXPECT_FALSE(p.FileVersion.isSet());
  EXPECT_EQ(p.NrOfVolumes.value(), 0);
  EXPECT_EQ(p.Prefix.value(), "");
  EXPECT_EQ(this->printed(p), "\n");
}

TYPED_TEST(ProjectOf, SliceThicknessGoesToTheBlockItStandsIn) {
  const auto p = this->read(commonHeader);
  EXPECT_EQ(p.SliceThickness, 3.0F);
  EXPECT_EQ(p.PosSliceThickness, 2.5F);
  const std::string text = this->printed(p);
  EXPECT_LT(text.find("SliceThickness:                3\n"), text.find("PositionInformation"));
  EXPECT_GT(text.find("SliceThickness:     2.5\n"), text.find("PositionInformation"));
}

TYPED_TEST(ProjectOf, WithoutTheSectionsNameItsLinesStayUnset) {
  const auto p =
      this->read(replaced(commonHeader, "\nPositionInformationFromImageHeaders\n\n", ""));
  EXPECT_FALSE(p.PosInfosVerified.isSet());
  EXPECT_FALSE(p.GapThickness.isSet());
  EXPECT_FALSE(p.PosSliceThickness.isSet());
  // Outside the section the name belongs to the main block: the second one wins.
  EXPECT_EQ(p.SliceThickness, 2.5F);
  EXPECT_EQ(this->printed(p).find("PositionInformation"), std::string::npos);
}

TYPED_TEST(ProjectOf, MainAndTrailerKeysAreNotKnownInsideThePositionSection) {
  const auto p =
      this->read(replaced(commonHeader, "NRows: ", "TE: 99\nLeftRightConvention: L\nNRows: "));
  EXPECT_EQ(p.TE, 30);
  EXPECT_EQ(p.LeftRightConvention.value(), "Radiological");
  EXPECT_EQ(p.NRows, 64);
}

TYPED_TEST(ProjectOf, ASectionWithoutGapThicknessSwallowsTheRest) {
  const auto p = this->read(replaced(commonHeader, "GapThickness:", "Gap:"));
  EXPECT_EQ(p.PosSliceThickness, 2.5F);
  EXPECT_FALSE(p.GapThickness.isSet());
  EXPECT_FALSE(p.NrOfPastSpatialTransformations.isSet());
  EXPECT_FALSE(p.LeftRightConvention.isSet());
}

TYPED_TEST(ProjectOf, PositionLinesAreWrittenWithoutTheSectionsNameWhenPosInfosVerifiedIsUnset) {
  const auto p = this->read("PositionInformationFromImageHeaders\nNRows: 64\nGapThickness: 1\n");
  EXPECT_EQ(this->printed(p), "\nNRows: 64\nGapThickness: 1\n\n\n");
}

TYPED_TEST(ProjectOf, ANumberAtTheEndOfTheFileIsMatchedTwiceAndItsWidthShrinks) {
  const auto p = this->read("TE: 3\nTR:      2000\n");
  EXPECT_EQ(p.TR, 2000);
  EXPECT_EQ(p.TR.getWidth(), 3);
  EXPECT_EQ(this->printed(p), "\nTR:2000\nTE: 3\n");
  const auto f = this->read("SliceGap:   0.5\n\n");
  EXPECT_EQ(this->printed(f), "\nSliceGap:0.5\n");
  const auto b = this->read("ShowAMRFile:  1\n");
  EXPECT_EQ(this->printed(b), "\nShowAMRFile:1\n");
}

TYPED_TEST(ProjectOf, AStringAtTheEndOfTheFileIsMatchedTwiceAndBecomesEmpty) {
  const auto p = this->read("FirstDataSourceFile:   \"a b\"\n");
  EXPECT_TRUE(p.FirstDataSourceFile.isSet());
  EXPECT_EQ(p.FirstDataSourceFile.value(), "");
  EXPECT_EQ(this->printed(p), "\nFirstDataSourceFile:\n\n");
}

TYPED_TEST(ProjectOf, AValueThatEndsTheFileWithoutALineFeedIsMatchedOnce) {
  const auto p = this->read("SliceGap:   0.5");
  EXPECT_EQ(p.SliceGap.getWidth(), 12);
  const auto s = this->read("Prefix:   \"a b\"");
  EXPECT_EQ(s.Prefix.value(), "a b");
}

TYPED_TEST(ProjectOf, APositionLineAtTheEndOfTheFileIsMatchedTwiceButNotGapThickness) {
  const auto rows = this->read("PositionInformationFromImageHeaders\nNRows:    64\n");
  EXPECT_EQ(rows.NRows.getWidth(), 6);
  const auto gap = this->read("PositionInformationFromImageHeaders\nGapThickness:    1\n");
  EXPECT_EQ(gap.GapThickness.getWidth(), 17);
}

TYPED_TEST(ProjectOf, AMalformedValueEndsTheHeaderSilently) {
  const auto p = this->read("FileVersion: 5\nTR: fast\nTE: 30\n");
  EXPECT_EQ(p.FileVersion, 5);
  EXPECT_FALSE(p.TE.isSet());
  const auto missing = this->read("FileVersion: 5\nTR:\nTE: 30\nX: 0\n");
  EXPECT_FALSE(missing.TE.isSet());
}

TYPED_TEST(ProjectOf, NumbersAreReadWithPointsWhateverTheLocale) {
  struct Comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  const std::locale old = std::locale::global(std::locale(std::locale(), new Comma));
  auto p = this->read("SliceGap: 0.5\nX: 0\n");
  p.Save();
  std::locale::global(old);
  EXPECT_EQ(p.SliceGap, 0.5F);
  EXPECT_EQ(this->dir.read(TypeParam::header), "\nSliceGap: 0.5\n");
}

}  // namespace

}  // namespace mirel

#include "files/filenames.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace mirel {

namespace {

TEST(FileNames, PathEndsWithItsLastSeparator) {
  EXPECT_EQ(getPath("D:\\data\\run1.fmr"), "D:\\data\\");
  EXPECT_EQ(getPath("run1.fmr"), "");
  EXPECT_EQ(getPath("/data/sub/"), "/data/sub/");
  EXPECT_EQ(getPath("/data\\sub/mixed\\run1.fmr"), "/data\\sub/mixed\\");
  EXPECT_EQ(getPath("/run1.fmr"), "/");
  EXPECT_EQ(getPath(""), "");
}

TEST(FileNames, FileNameFollowsTheLastSeparator) {
  EXPECT_EQ(getFileName("/data/run1.fmr"), "run1.fmr");
  EXPECT_EQ(getFileName("D:\\data\\run1.fmr"), "run1.fmr");
  EXPECT_EQ(getFileName("/data\\sub/"), "");
  EXPECT_EQ(getFileName("run1.fmr"), "run1.fmr");
  EXPECT_EQ(getFileName(""), "");
}

TEST(FileNames, RemoveExtensionCutsAtTheLastDot) {
  EXPECT_EQ(removeExtension("/data/run1.fmr"), "/data/run1");
  EXPECT_EQ(removeExtension("run1.old.fmr"), "run1.old");
  EXPECT_EQ(removeExtension("run1"), "run1");
  EXPECT_EQ(removeExtension(".fmr"), "");
  EXPECT_EQ(removeExtension("run1."), "run1");
}

TEST(FileNames, ADirectorysDotCountsWhereTheFileHasNone) {
  EXPECT_EQ(removeExtension("/data.old/run1"), "/data");
  EXPECT_EQ(addToFileName("/data.old/run1", "_x"), "/data_x.old/run1");
  EXPECT_EQ(addToFileNameNewExtension("/data.old/run1", ".map"), "/data.map");
  EXPECT_EQ(replaceExtension("/data.old/run1", "map"), "/data.map");
}

TEST(FileNames, AddToFileNameGoesBeforeTheLastDot) {
  EXPECT_EQ(addToFileName("/data/run1.fmr", "_undist"), "/data/run1_undist.fmr");
  EXPECT_EQ(addToFileName("run1.old.fmr", "_undist"), "run1.old_undist.fmr");
}

TEST(FileNames, AddToFileNameFailsOnANameWithoutADot) {
  try {
    addToFileName("/data/run1", "_undist");
    FAIL() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_NE(std::string(e.what()).find("basic_string::substr"), std::string::npos) << e.what();
  }
  EXPECT_THROW(addToFileName("", "_undist"), std::out_of_range);
}

TEST(FileNames, AddToFileNameNewExtensionReplacesTheExtension) {
  EXPECT_EQ(addToFileNameNewExtension("/data/run1.fmr", "_vdm.map"), "/data/run1_vdm.map");
  EXPECT_EQ(addToFileNameNewExtension("/data/run1", "_vdm.map"), "/data/run1_vdm.map");
}

TEST(FileNames, ReplacePathAddsNoSeparator) {
  EXPECT_EQ(replacePath("/a/b/run1.fmr", "/out/"), "/out/run1.fmr");
  EXPECT_EQ(replacePath("/a/b/run1.fmr", "/out"), "/outrun1.fmr");
  EXPECT_EQ(replacePath("run1.fmr", ""), "run1.fmr");
}

TEST(FileNames, ReplaceExtensionAppendsWhereThereIsNone) {
  EXPECT_EQ(replaceExtension("run1.fmr", "map"), "run1.map");
  EXPECT_EQ(replaceExtension("run1", "map"), "run1.map");
  EXPECT_EQ(replaceExtension("run1.", "map"), "run1.map");
}

TEST(FileNames, PartBetweenTheFirstTwoQuotes) {
  EXPECT_EQ(extractPartBetweenQuotes("name \"abc\" and \"more\""), "abc");
  EXPECT_EQ(extractPartBetweenQuotes("no quotes"), "");
  EXPECT_EQ(extractPartBetweenQuotes("open \"to the end"), "to the end");
  EXPECT_EQ(extractPartBetweenQuotes("\"\""), "");
  EXPECT_EQ(extractPartBetweenQuotes("last\""), "");
}

TEST(FileNames, LastCharacters) {
  EXPECT_EQ(getLastCharacters("run1.fmr", 3), "fmr");
  EXPECT_EQ(getLastCharacters("run1.fmr", 8), "run1.fmr");
  EXPECT_EQ(getLastCharacters("run1.fmr", 20), "run1.fmr");
  EXPECT_EQ(getLastCharacters("run1.fmr", 0), "");
  EXPECT_EQ(getLastCharacters("", 3), "");
}

TEST(FileNames, EnclosingBlanksGoInnerOnesStay) {
  EXPECT_EQ(removeEnclosingWhiteSpaces(" \t a b\t "), "a b");
  EXPECT_EQ(removeEnclosingWhiteSpaces("ab"), "ab");
  EXPECT_EQ(removeEnclosingWhiteSpaces("\nab\n"), "\nab\n");
}

TEST(FileNames, ATextOfBlanksOnlyIsKept) {
  EXPECT_EQ(removeEnclosingWhiteSpaces("   "), "   ");
  EXPECT_EQ(removeEnclosingWhiteSpaces(" \t"), " \t");
  EXPECT_EQ(removeEnclosingWhiteSpaces(""), "");
}

TEST(FileNames, HasExtensionIsExact) {
  EXPECT_TRUE(hasExtension("run1.fmr", "fmr"));
  EXPECT_TRUE(hasExtension(".fmr", "fmr"));
  EXPECT_FALSE(hasExtension("run1.FMR", "fmr"));
  EXPECT_FALSE(hasExtension("fmr", "fmr"));
  EXPECT_FALSE(hasExtension("run1_fmr", "fmr"));
  EXPECT_FALSE(hasExtension("run1.fmr.bak", "fmr"));
  EXPECT_FALSE(hasExtension("", "fmr"));
}

}  // namespace

}  // namespace mirel

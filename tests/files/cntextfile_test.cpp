#include "files/cntextfile.h"

#include <gtest/gtest.h>

#include "support/temporaryfolder.h"

namespace mirel {

namespace {

class TextFile : public testing::Test {
 protected:
  CNTextFileReader reader(const std::string& content) {
    return CNTextFileReader(dir.write("text", content));
  }
  std::string written() const { return dir.read("text"); }

  TemporaryFolder dir;
};

TEST_F(TextFile, LoadsValuesInFileOrder) {
  CNTextFileReader is = reader("A: 3\nB:\t2.5 C: word rest\n");
  int a = 0;
  float b = 0;
  std::string c;
  EXPECT_TRUE(is.load(a, "A"));
  EXPECT_TRUE(is.load(b, "B"));
  EXPECT_TRUE(is.load(c, "C"));
  EXPECT_EQ(a, 3);
  EXPECT_EQ(b, 2.5F);
  EXPECT_EQ(c, "word");
}

TEST_F(TextFile, AMissingKeyLeavesItsVariableAndTheTokenForTheNextLoad) {
  CNTextFileReader is = reader("B: 2\n");
  int a = 77, b = 0;
  EXPECT_FALSE(is.load(a, "A"));
  EXPECT_TRUE(is.load(b, "B"));
  EXPECT_EQ(a, 77);
  EXPECT_EQ(b, 2);
}

TEST_F(TextFile, AKeyOutOfOrderBlocksAllThatFollow) {
  CNTextFileReader is = reader("B: 2\nA: 1\nC: 3\n");
  int v = -1;
  EXPECT_FALSE(is.load(v, "A"));
  EXPECT_FALSE(is.load(v, "C"));
  EXPECT_EQ(v, -1);
  EXPECT_TRUE(is.load(v, "B"));
}

TEST_F(TextFile, LabelsAreComparedExactly) {
  CNTextFileReader is = reader("Key: 2\n");
  int v = -1;
  EXPECT_FALSE(is.load(v, "key"));
  EXPECT_FALSE(is.load(v, "Ke"));
  EXPECT_FALSE(is.load(v, "Key:"));
  EXPECT_TRUE(is.load(v, "Key"));
}

TEST_F(TextFile, AFileThatIsNotThereMatchesNothing) {
  CNTextFileReader is(dir.file("missing"));
  int i = 5;
  float f = 5;
  bool b = true;
  std::string s = "kept";
  EXPECT_FALSE(is.load(i, "A"));
  EXPECT_FALSE(is.load(f, "A"));
  EXPECT_FALSE(is.load(s, "A"));
  EXPECT_FALSE(is.loadAsInt(b, "A"));
  EXPECT_FALSE(is.loadYesNo(b, "A"));
  EXPECT_FALSE(is.loadQuoted(s, "A"));
  EXPECT_FALSE(is.readSectionHeader("A"));
  EXPECT_FALSE(is.readSectionHeader(""));
  EXPECT_EQ(i, 5);
  EXPECT_EQ(f, 5);
  EXPECT_TRUE(b);
  EXPECT_EQ(s, "kept");
}

TEST_F(TextFile, AMalformedValueStopsEveryLaterLoad) {
  CNTextFileReader is = reader("A: x\nB: 2\n");
  int v = 0;
  EXPECT_TRUE(is.load(v, "A"));  // the label did match
  EXPECT_FALSE(is.load(v, "B"));
}

TEST_F(TextFile, TheEndOfTheFileMatchesNothing) {
  CNTextFileReader is = reader(" \n");
  EXPECT_FALSE(is.readSectionHeader(""));
  CNTextFileReader cut = reader("B:");
  int v = 7;
  EXPECT_FALSE(cut.load(v, "A"));
  EXPECT_FALSE(cut.load(v, "B"));  // the stream is at its end, though the token is pending
  EXPECT_EQ(v, 7);
}

TEST_F(TextFile, BoolsFromNumbers) {
  CNTextFileReader is = reader("A: 0 B: 1 C: -7 D: x");
  bool a = true, b = false, c = false, d = true;
  EXPECT_TRUE(is.loadAsInt(a, "A"));
  EXPECT_TRUE(is.loadAsInt(b, "B"));
  EXPECT_TRUE(is.loadAsInt(c, "C"));
  EXPECT_TRUE(is.loadAsInt(d, "D"));
  EXPECT_FALSE(a);
  EXPECT_TRUE(b);
  EXPECT_TRUE(c);
  EXPECT_FALSE(d);
}

TEST_F(TextFile, OnlyCapitalYesIsYes) {
  CNTextFileReader is = reader("A: YES A: Yes A: yes A: NO A: YES!");
  for (const bool expected : {true, false, false, false, false}) {
    bool v = !expected;
    EXPECT_TRUE(is.loadYesNo(v, "A"));
    EXPECT_EQ(v, expected);
  }
}

TEST_F(TextFile, QuotedValues) {
  CNTextFileReader is = reader("A: \"abc\"x A: x\"abc A: abc A: \"\" A: \"a b\" C: 1");
  for (const char* expected : {"abc", "abc", "abc", ""}) {
    std::string v = "old";
    EXPECT_TRUE(is.loadQuoted(v, "A"));
    EXPECT_EQ(v, expected);
  }
  std::string cut;
  EXPECT_TRUE(is.loadQuoted(cut, "A"));
  EXPECT_EQ(cut, "a");
  EXPECT_FALSE(is.loadQuoted(cut, "C"));  // b" is the next token
}

TEST_F(TextFile, SectionHeadersShareThePendingToken) {
  CNTextFileReader is = reader("Section\nA: 1\n");
  int v = 0;
  EXPECT_FALSE(is.load(v, "A"));
  EXPECT_FALSE(is.readSectionHeader("section"));
  EXPECT_TRUE(is.readSectionHeader("Section"));
  EXPECT_FALSE(is.readSectionHeader("A"));  // no colon is added
  EXPECT_TRUE(is.load(v, "A"));
  EXPECT_EQ(v, 1);
}

TEST_F(TextFile, WritesOneSpaceBehindTheColonUntilAWidthIsSet) {
  CNTextFileWriter os(dir.file("text"));
  os.save(3, "A");
  os.save(2.5F, "Bc");
  os.save(std::string("word"), "C");
  os.saveAsInt(true, "D");
  os.saveAsInt(false, "D");
  os.saveYesNo(true, "E");
  os.saveYesNo(false, "E");
  os.saveQuoted("a b", "F");
  os.writeSectionHeader("Section");
  os.writeBlankLine();
  os.close();
  EXPECT_EQ(written(),
            "A: 3\nBc: 2.5\nC: word\nD: 1\nD: 0\nE: YES\nE: NO\nF: \"a b\"\nSection\n\n");
}

TEST_F(TextFile, PadsLabelsToTheLongestPlusTwo) {
  CNTextFileWriter os(dir.file("text"));
  os.setLabelWidth("Longest");
  os.save(1, "A");
  os.save(0.000001F, "Longest");
  os.save(std::string("x"), "LongerThanTheLongest");
  os.setLabelWidth("");
  os.saveQuoted("x", "A");
  os.close();
  EXPECT_EQ(written(), "A:       1\nLongest: 1e-06\nLongerThanTheLongest:x\nA:\"x\"\n");
}

TEST_F(TextFile, WritingTruncatesWhatWasThere) {
  dir.write("text", "old content");
  CNTextFileWriter(dir.file("text")).save(1, "A");
  EXPECT_EQ(written(), "A: 1\n");
}

TEST_F(TextFile, AFileThatCannotBeCreatedShowsInTheStream) {
  CNTextFileWriter os(dir.file("no/such/dir"));
  os.save(1, "A");
  EXPECT_TRUE(os.fail());
}

TEST_F(TextFile, WhatIsWrittenIsReadBack) {
  CNTextFileWriter os(dir.file("text"));
  os.setLabelWidth("Number");
  os.writeSectionHeader("Section");
  os.save(-12, "Number");
  os.save(1.25F, "Float");
  os.saveQuoted("name", "Name");
  os.saveYesNo(true, "Flag");
  os.close();
  CNTextFileReader is(dir.file("text"));
  int i = 0;
  float f = 0;
  std::string s;
  bool b = false;
  EXPECT_TRUE(is.readSectionHeader("Section"));
  EXPECT_TRUE(is.load(i, "Number"));
  EXPECT_TRUE(is.load(f, "Float"));
  EXPECT_TRUE(is.loadQuoted(s, "Name"));
  EXPECT_TRUE(is.loadYesNo(b, "Flag"));
  EXPECT_EQ(i, -12);
  EXPECT_EQ(f, 1.25F);
  EXPECT_EQ(s, "name");
  EXPECT_TRUE(b);
}

}  // namespace

}  // namespace mirel

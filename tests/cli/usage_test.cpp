#include <gmock/gmock.h>

#include "cli/program.h"

namespace mirel {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(Usage, TheVersionGoesToStandardOutput) {
  const ProgramResult result = runMirel({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, StartsWith("mirel "));
  EXPECT_EQ(result.err, "");
}

TEST(Usage, HelpGivesUnitsAndDefaults) {
  const ProgramResult help = runMirel({"estimate", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, HasSubstr("in voxels"));
  EXPECT_THAT(help.out, HasSubstr("(default: 0, the first)"));
  EXPECT_THAT(help.out, HasSubstr("normalised cross-correlation (default"));
  for (const char* command : {"apply", "check", "select", "info"}) {
    EXPECT_EQ(runMirel({command, "--help"}).status, 0);
    EXPECT_THAT(runMirel({"--help"}).out, HasSubstr(std::string("\n  ") + command));
  }
  EXPECT_THAT(runMirel({"field", "--help"}).out, HasSubstr("--echo-times S x 2 or more\n"));
  EXPECT_THAT(runMirel({"phantom", "--help"}).out, HasSubstr("--size NX NY NZ x 3 "));
}

TEST(Usage, MistakesHaveTheirOwnStatus) {
  const std::vector<std::vector<std::string>> mistakes = {
      {},        {"nosuchcommand"}, {"estimate", "one.fmr"},           {"apply", "run.fmr"},
      {"check"}, {"info"},          {"estimate", "--nosuch", "a", "b"}};
  for (const auto& arguments : mistakes) {
    const ProgramResult result = runMirel(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err, "");
  }
}

// "$MASK" of a script in which the variable is not set.
TEST(Usage, EmptyValuesAreRefused) {
  const std::vector<std::vector<std::string>> lines = {
      {"correct", "a.nii", "b.nii", "-o", "out", "--mask", ""},
      {"correct", "a.nii", "", "-o", "out"},
      {"correct", "a.nii", "b.nii", "-o", ""},
      {"apply", "--field", "", "a.nii", "-o", "out"},
      {"bids", "in", "out", "participant", "--participant-label", ""}};
  for (const auto& line : lines) {
    const ProgramResult result = runMirel(line);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("its value is empty"));
  }
}

// A result that is lost must not look like success.
TEST(Usage, AFullStandardOutputIsAFailure) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), {});
  const ProgramResult result = runProgram(
      "/bin/sh", {"-c", std::string(MIREL_PROGRAM) + " info a.fmr >/dev/full"}, folder.file(""));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("cannot write to standard output"));
}

}  // namespace

}  // namespace mirel

#include <gmock/gmock.h>

#include <fstream>

#include "cli/program.h"

namespace mirel {

namespace {

using testing::HasSubstr;
using testing::Not;

TEST(CheckCommand, GoodProjectsAreOk) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), {});
  writeDmr(folder.file("b.dmr"), {});
  const ProgramResult result = runMirel({"check", folder.file("a.fmr"), folder.file("b.dmr")});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "Check: OK\n");
  EXPECT_EQ(result.out, "");
}

TEST(CheckCommand, FindingsAreShownAndMakeItFail) {
  const TemporaryFolder folder;
  std::ofstream(folder.file("notes.txt")) << "text";
  const ProgramResult result =
      runMirel({"check", folder.file("none.fmr"), folder.file("notes.txt")});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, folder.file("none.fmr") + ": could not read file\n" +
                            folder.file("notes.txt") + ": not an FMR or DMR file\n");
}

TEST(CheckCommand, AListThatDoesNotFitIsCheckedToItsEnd) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), {});
  std::vector<std::string> arguments = {"check", folder.file("first.txt")};
  for (int i = 0; i < 40; ++i) arguments.push_back(folder.file("a.fmr"));
  arguments.push_back(folder.file("last.fmr"));
  const ProgramResult result = runMirel(arguments);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("first.txt: not an FMR or DMR file\n"));
  EXPECT_THAT(result.err, HasSubstr("last.fmr: could not read file\n"));
}

TEST(CheckCommand, ImpossibleNamesAreRefused) {
  EXPECT_THAT(runMirel({"check", std::string(512, 'x')}).err, HasSubstr("at most 511"));
  EXPECT_THAT(runMirel({"check", "a\nb.fmr"}).err, HasSubstr("line feed"));
  EXPECT_EQ(runMirel({"check", std::string(512, 'x')}).status, 1);
  EXPECT_THAT(runMirel({"check", std::string(511, 'x')}).err, Not(HasSubstr("at most")));
}

}  // namespace

}  // namespace mirel

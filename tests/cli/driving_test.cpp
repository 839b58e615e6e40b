// How the program drives a plugin, seen by a plugin that writes everything down.
#include <gmock/gmock.h>

#include "cli/program.h"
#include "files/mapfile.h"

namespace mirel {

namespace {

using testing::HasSubstr;
using testing::Not;

ProgramResult drive(std::vector<std::string> arguments, const std::string& mode = "") {
  arguments.insert(arguments.begin(), {"--plugin", MIREL_RECORDING_PLUGIN});
  return runMirel(arguments, {"RECORDING_PLUGIN=" + mode});
}

TEST(Driving, InitialisesExecutesAndDestroysThroughTheSlots) {
  const ProgramResult result = drive({"check", "a.fmr"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err,
            "initPlugin\nexecute check\nfiles=a.fmr\nintegers 0 0 0 0 0 0 0 0\ndestroyed\n");
}

TEST(Driving, EstimateSetsEveryParameterOfTheDialog) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), {});
  writeDmr(folder.file("b.dmr"), {});
  const std::vector<std::string> pair = {"estimate", folder.file("a.fmr"), folder.file("b.dmr")};
  const std::string files =
      "file0=" + folder.file("a.fmr") + "\nfile1=" + folder.file("b.dmr") + "\n";
  EXPECT_THAT(drive(pair).err,
              HasSubstr("execute estimate\n" + files + "integers 0 0 0 0 0 0 0 0\n"));
  struct {
    std::vector<std::string> options;
    const char* integers;
  } const cases[] = {
      {{"--volume0", "1"}, "1 0 0 0 0 0 0 0"}, {{"--volume1", "1"}, "0 1 0 0 0 0 0 0"},
      {{"--rllr"}, "0 0 1 0 0 0 0 0"},         {{"--ic"}, "0 0 0 1 0 0 0 0"},
      {{"--ssd"}, "0 0 0 0 1 0 0 0"},          {{"--ncc"}, "0 0 0 0 0 0 0 0"},
      {{"--fast"}, "0 0 0 0 0 1 0 0"},         {{"--save-derivative"}, "0 0 0 0 0 0 1 0"},
      {{"--apply"}, "0 0 0 0 0 0 0 1"}};
  for (const auto& c : cases) {
    std::vector<std::string> arguments = pair;
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    EXPECT_THAT(drive(arguments).err, HasSubstr(std::string("integers ") + c.integers + "\n"));
  }
}

// A plugin that says it is done is not believed.
TEST(Driving, OutputsThatWereNotWrittenAreAFailure) {
  const TemporaryFolder folder;
  writeFmr(folder.file("a.fmr"), {});
  writeFmr(folder.file("b.fmr"), {});
  const ProgramResult result = drive({"estimate", folder.file("a.fmr"), folder.file("b.fmr")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err,
              HasSubstr("Error: the file " + folder.file("a_vdm.map") + " could not be written"));
}

TEST(Driving, AListOf511BytesIsOneTaskAndALongerOneIsATaskPerFile) {
  const std::string first(255, 'a');
  const ProgramResult fits = drive({"check", first, std::string(255, 'b')});
  EXPECT_THAT(fits.err, HasSubstr("files=" + first + "\n" + std::string(255, 'b') + "\n"));
  EXPECT_EQ(fits.err.find("execute"), fits.err.rfind("execute"));
  const ProgramResult tooLong = drive({"check", first, std::string(256, 'b')});
  EXPECT_THAT(tooLong.err, HasSubstr("files=" + first + "\nintegers"));
  EXPECT_THAT(tooLong.err, HasSubstr("files=" + std::string(256, 'b') + "\nintegers"));
  EXPECT_THAT(tooLong.err, Not(HasSubstr("written beyond")));
}

TEST(Driving, FileByFileStopsAtTheFirstErrorAndNotAtAFinding) {
  const std::vector<std::string> list = {"check", std::string(300, 'a'), std::string(300, 'b')};
  const ProgramResult error = drive(list, "error box");
  EXPECT_EQ(error.status, 1);
  EXPECT_THAT(error.err, Not(HasSubstr("bbb")));
  const ProgramResult finding = drive(list, "finding");
  EXPECT_EQ(finding.status, 1);
  EXPECT_THAT(finding.err, HasSubstr("bbb"));
}

TEST(Driving, AnErrorBoxMakesTheExitStatusNonZero) {
  const ProgramResult result = drive({"check", "a.fmr"}, "error box");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("Error: as asked\n"));
}

TEST(Driving, AnExceptionOfAnotherTypeIsAFailureAndNotACrash) {
  const ProgramResult result = drive({"check", "a.fmr"}, "throws");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("Error: the plugin failed without saying why\n"));
}

TEST(Driving, APluginThatRefusesIsNotExecuted) {
  const ProgramResult refused = drive({"check", "a.fmr"}, "refuses");
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("cannot work with this program"));
  EXPECT_THAT(refused.err, Not(HasSubstr("execute")));
  EXPECT_THAT(refused.err, HasSubstr("destroyed"));
  EXPECT_THAT(drive({"check", "a.fmr"}, "no object").err, HasSubstr("did not create its object"));
}

}  // namespace

}  // namespace mirel

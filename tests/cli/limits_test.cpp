// Numbers on the command line and in headers that no run can do anything with.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/program.h"

namespace mirel {

namespace {

using testing::AllOf;
using testing::HasSubstr;

class Limits : public testing::Test {
 protected:
  TemporaryFolder folder;

  // A project whose header says something else in one line.
  std::string projectWith(const std::string& before, const std::string& after) const {
    const std::string file = folder.file("run.fmr");
    writeFmr(file, {});
    std::string text = textOf(file);
    const std::size_t at = text.find(before);
    EXPECT_NE(at, std::string::npos);
    const std::size_t end = text.find('\n', at);
    text.replace(at, end - at, after);
    std::ofstream(file) << text;
    return file;
  }
};

TEST_F(Limits, PhantomsThatCannotBeAreRefused) {
  const auto refused = [&](const std::vector<std::string>& options, const std::string& fault) {
    std::vector<std::string> words = {"phantom", folder.file("out")};
    words.insert(words.end(), options.begin(), options.end());
    const ProgramResult result = runMirel(words);
    EXPECT_EQ(result.status, 1) << options[0];
    EXPECT_THAT(result.err, AllOf(HasSubstr("Error: "), HasSubstr(fault)));
    EXPECT_FALSE(std::filesystem::exists(folder.file("out")));
  };
  refused({"--motion", "1e300", "0", "0", "0", "0", "0"}, "by at most 1000 mm");
  refused({"--motion", "0", "0", "0", "0", "1e9", "0"}, "by at most 360 degrees");
  refused({"--volumes", "100000000"}, "at most 2^31 voxels");
  refused({"--voxel", "1e308"}, "voxel size must be from 0.001 to 1000 mm");
}

TEST_F(Limits, CountsOfProjectsThatAreNoWholeNumbersAreDoubted) {
  const ProgramResult result = runMirel({"info", projectWith("NrOfVolumes:", "NrOfVolumes: 1e9")});
  EXPECT_THAT(result.out + result.err,
              AllOf(HasSubstr("run.fmr"),
                    HasSubstr("NrOfVolumes \"1e9\", which is no whole number and read as 1")));
}

TEST_F(Limits, AnUnknownDataTypeIsNotConverted) {
  const std::string project = projectWith("DataType:", "DataType: 7");
  const ProgramResult result = runMirel({"convert", project, folder.file("out.nii")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, AllOf(HasSubstr("run.fmr has the DataType 7")));
  EXPECT_FALSE(fileExists(folder.file("out.nii")));
}

// What --json asks for is an object in that case, too.
TEST_F(Limits, AJsonReaderIsToldThatMemoryIsShort) {
#ifdef MIREL_SANITIZED
  GTEST_SKIP() << "sanitizers need more memory than that themselves";
#endif
  const std::string images = folder.file("images");
  ASSERT_EQ(runMirel({"phantom", images, "--volumes", "0"}).status, 0);
  const std::string command = "ulimit -v 60000; exec " MIREL_PROGRAM " correct " + images +
                              "/sub-phantom_dir-AP_epi.nii.gz " + images +
                              "/sub-phantom_dir-PA_epi.nii.gz --json --quiet -o " +
                              folder.file("out");
  const ProgramResult result = runProgram("/bin/sh", {"-c", command}, folder.file(""));
  if (result.status == 127) GTEST_SKIP() << "the program does not start with so little memory";
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("Error: there is not enough memory"));
  EXPECT_EQ(nlohmann::json::parse(result.out)["error"]["message"], "there is not enough memory");
  EXPECT_FALSE(std::filesystem::exists(folder.file("out")));
}

}  // namespace

}  // namespace mirel

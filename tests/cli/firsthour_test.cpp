#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli/program.h"

namespace mirel {

// The commands of docs/first-hour.md, and after them those of docs/from-other-tools.md, do what the
// texts say.

namespace {

std::vector<std::string> commandsOf(const std::string& document) {
  std::vector<std::string> commands;
  std::ifstream is(document);
  bool inBlock = false;
  for (std::string line; std::getline(is, line);)
    if (line.starts_with("```"))
      inBlock = !inBlock;
    else if (inBlock)
      commands.push_back(line);
  return commands;
}

ProgramResult runLine(const std::string& command, const std::string& folder) {
  EXPECT_THAT(command, testing::ContainsRegex("^(mirel|mkdir|cp) "));
  const std::string programs = std::filesystem::path(MIREL_PROGRAM).parent_path().string();
  ProgramResult result =
      runProgram("/bin/sh", {"-c", "PATH='" + programs + "':$PATH; " + command}, folder);
  EXPECT_EQ(result.status, 0) << command << "\n" << result.err;
  return result;
}

}  // namespace

TEST(FirstHour, EveryCommandWorksInTheOrderOfTheText) {
  const TemporaryFolder folder;
  const std::vector<std::string> commands = commandsOf(MIREL_FIRST_HOUR);
  ASSERT_GE(commands.size(), 7U);
  ProgramResult last;
  for (const std::string& command : commands) last = runLine(command, folder.file(""));
  EXPECT_THAT(last.err, testing::StartsWith("Warning: CHECK THE SIGN"));
  EXPECT_TRUE(fileExists(folder.file("pair.png")));
  EXPECT_TRUE(
      fileExists(folder.file("out/sub-phantom_task-rest_dir-AP_desc-corrected_bold.nii.gz")));

  const std::vector<std::string> further = commandsOf(MIREL_FROM_OTHER_TOOLS);
  ASSERT_GE(further.size(), 12U);
  for (const std::string& command : further) {
    last = runLine(command, folder.file(""));
    EXPECT_THAT(last.err, testing::Not(testing::HasSubstr("Warning"))) << command;
    if (command.find("--reference out/") != std::string::npos) {
      EXPECT_THAT(last.err, testing::HasSubstr("the sign is right"));
    }
  }
  EXPECT_THAT(last.out, testing::HasSubstr("correlation 1.0000"));
}

}  // namespace mirel

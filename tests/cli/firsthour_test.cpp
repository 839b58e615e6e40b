#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli/program.h"

// The commands of docs/first-hour.md do what the text says.

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

}  // namespace

TEST(FirstHour, everyCommandWorksInTheOrderOfTheText) {
  const TemporaryFolder folder;
  const std::vector<std::string> commands = commandsOf(MIREL_FIRST_HOUR);
  ASSERT_GE(commands.size(), 7U);
  const std::string programs = std::filesystem::path(MIREL_PROGRAM).parent_path().string();
  std::string messages;
  for (const std::string& command : commands) {
    ASSERT_TRUE(command.starts_with("mirel ")) << command;
    const ProgramResult result =
        runProgram("/bin/sh", {"-c", "PATH='" + programs + "':$PATH; " + command}, folder.file(""));
    EXPECT_EQ(result.status, 0) << command << "\n" << result.err;
    messages = result.err;
  }
  EXPECT_THAT(messages, testing::StartsWith("Warning: CHECK THE SIGN"));
  EXPECT_TRUE(fileExists(folder.file("pair.png")));
  EXPECT_TRUE(
      fileExists(folder.file("out/sub-phantom_task-rest_dir-AP_desc-corrected_bold.nii.gz")));
}

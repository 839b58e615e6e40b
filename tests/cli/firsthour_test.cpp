#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "cli/documents.h"
#include "cli/program.h"

namespace mirel {

// The commands of docs/first-hour.md, and after them those of docs/from-other-tools.md, do what the
// texts say.

TEST(FirstHour, EveryCommandWorksInTheOrderOfTheText) {
  const TemporaryFolder folder;
  const std::vector<std::string> commands = commandsOf(MIREL_FIRST_HOUR);
  ASSERT_GE(commands.size(), 7U);
  ProgramResult last;
  for (const std::string& command : commands) last = runLine(command, folder.file(""));
  EXPECT_THAT(last.err, testing::StartsWith("Warning: CHECK THE SIGN"));
  EXPECT_TRUE(fileExists(folder.file("pair.png")));
  EXPECT_TRUE(fileExists(folder.file("out/sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz")));

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

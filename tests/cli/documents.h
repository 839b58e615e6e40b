#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli/program.h"

namespace mirel {

/// Running the commands of the documentation.

/// The lines of its code blocks, but for those that are marked as another program's ("```fsl").
inline std::vector<std::string> commandsOf(const std::string& document) {
  std::vector<std::string> commands;
  std::ifstream is(document);
  bool inBlock = false, ours = false;
  for (std::string line; std::getline(is, line);)
    if (line.starts_with("```")) {
      inBlock = !inBlock;
      ours = line == "```";
    } else if (inBlock && ours) {
      commands.push_back(line);
    }
  return commands;
}

/// Runs one of them with the built program in front of the path; it has to succeed.
inline ProgramResult runLine(const std::string& command, const std::string& folder) {
  EXPECT_THAT(command, testing::ContainsRegex("^(mirel|mkdir|cp|gunzip|printf) "));
  const std::string programs = std::filesystem::path(MIREL_PROGRAM).parent_path().string();
  ProgramResult result =
      runProgram("/bin/sh", {"-c", "PATH='" + programs + "':$PATH; " + command}, folder);
  EXPECT_EQ(result.status, 0) << command << "\n" << result.err;
  return result;
}

}  // namespace mirel

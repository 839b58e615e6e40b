#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "cli/program.h"
#include "support/temporaryfolder.h"

namespace mirel {

/// The program as "cmake --install" leaves it, in a folder of its own, made once for all tests.
class Installation : public testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();

  /// A file of the installation: "share/man/man1/mirel.1".
  static std::string installed(const std::string& name) { return prefix->file(name); }

  /// A line of a shell, with the installation's programs in front of the path and the script's
  /// working folder elsewhere.
  static ProgramResult shell(const std::string& line, const std::string& interpreter = "/bin/sh");

  /// Where the machine has this program; empty where it has none, and the test is to be skipped.
  static std::string program(const std::string& name);
  static bool has(const std::string& name) { return !program(name).empty(); }

  /// The names of the commands that --help lists.
  static std::vector<std::string> commands();
  /// The names of the options that COMMAND --help lists, of the program itself for "".
  static std::vector<std::string> optionsOf(const std::string& command);

 private:
  static std::unique_ptr<TemporaryFolder> prefix;
};

}  // namespace mirel

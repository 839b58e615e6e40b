#include "host/console.h"

#include <gmock/gmock.h>

#include <vector>

namespace mirel {

namespace {

using testing::ElementsAre;

struct RecordedConsole : Console {
  std::vector<std::string> lines;
  RecordedConsole() {
    setSink([this](const std::string& line) { lines.push_back(line); });
  }
};

TEST(Console, EachLogCallIsALine) {
  RecordedConsole console;
  console.log("Estimating...");
  console.log("two\nlines, ended\n");
  EXPECT_THAT(console.lines, ElementsAre("Estimating...", "two\nlines, ended"));
}

TEST(Console, AnEmptyLogTextWritesNothing) {
  RecordedConsole console;
  console.log("");
  console.log("\n");
  EXPECT_TRUE(console.lines.empty());
}

TEST(Console, ControlBytesOfFilesStayOut) {
  RecordedConsole console;
  console.messageBox("Error: \x1B[2J holds \"\b\"");
  EXPECT_EQ(console.lines.back(), "Error: ?[2J holds \"?\"");
}

TEST(Console, OnlyErrorBoxesCountAsErrors) {
  RecordedConsole console;
  console.messageBox("Error: no such file");
  console.messageBox("run1.txt: not an FMR or DMR file\n");
  console.messageBox("error: lower case");
  console.warn("Error: in a warning");
  EXPECT_EQ(console.errors(), 1);
  EXPECT_EQ(console.findings(), 2);
  EXPECT_EQ(console.lines.back(), "Warning: Error: in a warning");
}

TEST(Console, WithoutASinkLinesGoToStandardError) {
  Console console;
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  console.showBusyCursor();
  console.log("Done.");
  console.stopBusyCursor();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Done.\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace

}  // namespace mirel

#include <fstream>

#include "tasks/taskhost.h"

namespace mirel {

using testing::ElementsAre;
using testing::IsEmpty;

using CheckTask = TaskTest;

TEST_F(CheckTask, IsOkWithoutFiles) {
  testHost().strings["files"] = "";
  run("check");
  EXPECT_THAT(testHost().logLines, ElementsAre("Check: OK"));
  EXPECT_THAT(testHost().boxes, IsEmpty());
}

TEST_F(CheckTask, AcceptsAnyContentUnderAProjectsName) {
  writeDmr(file("a.dmr"), {});
  writeFmr(file("b.fmr"), {});
  std::ofstream(file("b.fmr")) << "not a header";
  testHost().strings["files"] = file("a.dmr") + "\n\n" + file("b.fmr") + "\n";
  run("check");
  EXPECT_THAT(testHost().logLines, ElementsAre("Check: OK"));
}

TEST_F(CheckTask, ListsAllFindingsInOneBoxWithoutErrorPrefix) {
  std::ofstream(file("b.txt")) << "text";
  testHost().strings["files"] = file("a.fmr") + "\n" + file("b.txt");
  run("check");
  EXPECT_THAT(testHost().boxes, ElementsAre(file("a.fmr") + ": could not read file\n" +
                                            file("b.txt") + ": not an FMR or DMR file\n"));
  EXPECT_THAT(testHost().logLines, IsEmpty());
}

TEST_F(CheckTask, ReportsANameListedTwiceTwice) {
  testHost().strings["files"] = "x\nx";
  run("check");
  EXPECT_THAT(testHost().boxes,
              ElementsAre("x: not an FMR or DMR file\nx: not an FMR or DMR file\n"));
}

TEST_F(CheckTask, KeepsExtensionsCaseSensitive) {
  testHost().strings["files"] = "run1.FMR";
  run("check");
  EXPECT_THAT(testHost().boxes, ElementsAre("run1.FMR: not an FMR or DMR file\n"));
}

}  // namespace mirel

#include "base/moveall.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "base/error.h"
#include "support/killedprocess.h"
#include "support/messageof.h"
#include "support/temporaryfolder.h"

namespace {

using namespace mirel;
namespace fs = std::filesystem;

unsigned long inodeOf(const std::string& file) {
  struct stat status {};
  return stat(file.c_str(), &status) == 0 ? status.st_ino : 0;
}

class MoveAll : public testing::Test {
 protected:
  MoveAll() {
    fs::create_directory(folder.file("hidden"));
    folder.write("hidden/a", "new a");
    folder.write("hidden/b", "new b");
    folder.write("b", "old b");
  }

  TemporaryFolder folder;
};

TEST_F(MoveAll, PutsNewFilesInTheirPlacesAndOldOnesAside) {
  moveAll(folder.file(""), folder.file("hidden"), {"a", "b"});
  EXPECT_EQ(folder.read("a"), "new a");
  EXPECT_EQ(folder.read("b"), "new b");
  EXPECT_EQ(folder.read("hidden/b"), "old b");
  EXPECT_FALSE(movesAreLeft(folder.file("hidden")));
}

TEST_F(MoveAll, AFileThatIsNotThereMovesNothing) {
  EXPECT_EQ(messageOf<Error>([&] {
              moveAll(folder.file(""), folder.file("hidden"), {"a", "b", "c"});
            }),
            folder.file("c") + " cannot be written: No such file or directory");
  EXPECT_FALSE(folder.exists("a"));
  EXPECT_EQ(folder.read("b"), "old b");
}

TEST_F(MoveAll, WhatAKilledProcessLeftIsFinished) {
  const std::string left = hiddenNameOf(goneProcess());
  fs::rename(folder.file("hidden"), folder.file(left));
  // It was killed after a's move.
  folder.write(left + "/.moves",
               std::to_string(inodeOf(folder.file(left + "/a"))) + " a" + std::string(1, 0) +
                   std::to_string(inodeOf(folder.file(left + "/b"))) + " b" + std::string(1, 0));
  fs::rename(folder.file(left + "/a"), folder.file("a"));
  clearLeftovers(folder.file(""));
  EXPECT_EQ(folder.names(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(folder.read("a"), "new a");
  EXPECT_EQ(folder.read("b"), "new b");
}

TEST_F(MoveAll, WhatAKilledProcessHadNotBegunToMoveIsRemoved) {
  fs::rename(folder.file("hidden"), folder.file(hiddenNameOf(goneProcess())));
  folder.write(hiddenNameOf(goneProcess()), "half a file");
  clearLeftovers(folder.file(""));
  EXPECT_EQ(folder.names(), std::vector<std::string>{"b"});
  EXPECT_EQ(folder.read("b"), "old b");
}

// As in a container whose first process does not ask how others ended.
TEST_F(MoveAll, AProcessThatIsDeadButNotAskedForIsGone) {
  const pid_t child = fork();
  if (child == 0) _exit(0);
  siginfo_t ended;
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
  fs::rename(folder.file("hidden"), folder.file(hiddenNameOf(child)));
  clearLeftovers(folder.file(""));
  EXPECT_EQ(folder.names(), std::vector<std::string>{"b"});
  waitpid(child, nullptr, 0);
}

TEST_F(MoveAll, TheFilesOfLivingProcessesOtherMachinesAndOtherProgramsStay) {
  const std::vector<std::string> others = {
      hiddenName(), hiddenNameOf(getppid()),
      ".mirel-00000000-" + std::to_string(goneProcess()) + "-0.part", ".mirel-notes",
      ".other.part"};
  for (const std::string& name : others) folder.write(name, "x");
  const std::vector<std::string> before = folder.names();
  clearLeftovers(folder.file(""));
  EXPECT_EQ(folder.names(), before);
}

TEST_F(MoveAll, AListThatNamesOtherFoldersIsNotFollowed) {
  const std::string left = hiddenNameOf(goneProcess());
  fs::rename(folder.file("hidden"), folder.file(left));
  fs::create_directory(folder.file("other"));
  folder.write("other/c", "c");
  folder.write(left + "/.moves",
               std::to_string(inodeOf(folder.file("other/c"))) + " ../other/c" + std::string(1, 0));
  clearLeftovers(folder.file(""));
  EXPECT_EQ(folder.read("other/c"), "c");
}

// A signal ends a command while its files are moved, and the disk is busy.
TEST(RemoveOwnHidden, WaitsForAMoveOfSeconds) {
  const TemporaryFolder folder;
  const fs::path hidden = folder.file(hiddenName());
  fs::create_directory(hidden);
  std::ofstream(hidden / ".moves");
  std::thread moving([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    fs::remove(hidden / ".moves");
  });
  removeOwnHidden(folder.file(""));
  EXPECT_FALSE(fs::exists(hidden));
  moving.join();
}

}  // namespace

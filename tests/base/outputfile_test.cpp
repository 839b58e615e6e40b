#include "base/outputfile.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/error.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

/// Names of the files that were brought to the disk.
std::vector<std::string>& synchronised() {
  static std::vector<std::string> names;
  return names;
}

}  // namespace

/// Takes the place of the system's function in this program.
extern "C" int fsync(int descriptor) {
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  synchronised().push_back(std::filesystem::read_symlink(link).string());
  return static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace {

int filesIn(const std::string& folder) {
  int count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
  return count;
}

TEST(OutFile, AppearsAtCommitAndNotBefore) {
  const TemporaryFolder folder;
  const std::string name = folder.file("result");
  OutFile file(name);
  file.write("abc", 3);
  EXPECT_FALSE(fileExists(name));
  file.commit();
  EXPECT_EQ(textOf(name), "abc");
  EXPECT_EQ(filesIn(folder.file("")), 1);
}

TEST(OutFile, WithoutCommitTheFolderStaysAsItWas) {
  const TemporaryFolder folder;
  const std::string name = folder.file("result");
  std::ofstream(name) << "earlier";
  {
    OutFile file(name);
    file.write("abc", 3);
  }
  EXPECT_EQ(textOf(name), "earlier");
  EXPECT_EQ(filesIn(folder.file("")), 1);
}

TEST(OutFile, MissingFolderIsRefusedByName) {
  const TemporaryFolder folder;
  const std::string name = folder.file("none/result");
  try {
    OutFile file(name);
    FAIL();
  } catch (const Error& failure) {
    EXPECT_THAT(failure.what(), testing::HasSubstr(name));
  }
}

TEST(OutFile, ANameThatIsAFolderIsRefusedAndNothingIsLeftBehind) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.file("taken"));
  EXPECT_THROW(OutFile(folder.file("taken")), Error);
  EXPECT_EQ(filesIn(folder.file("")), 1);
}

TEST(OutFile, TakesTheLongestFileName) {
  const TemporaryFolder folder;
  const std::string name = folder.file(std::string(255, 'n'));
  OutFile file(name);
  file.commit();
  EXPECT_TRUE(fileExists(name));
}

/// Writes 5000 bytes where the system allows 1000, in a process of its own, and ends it: status 0
/// when the failure was thrown and no file appeared.
[[noreturn]] void writeBeyondTheLimit(const std::string& name) {
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {1000, 1000};
  setrlimit(RLIMIT_FSIZE, &limit);
  const std::string bytes(5000, 'x');
  try {
    OutFile file(name);
    file.write(bytes.data(), bytes.size());
    file.commit();
  } catch (const Error&) {
    std::_Exit(fileExists(name) ? 2 : 0);
  }
  std::_Exit(1);
}

// A full disk, as far as a test can have one.
TEST(OutFile, AFailingWriteIsReportedAndLeavesNothing) {
  const TemporaryFolder folder;
  EXPECT_EXIT(writeBeyondTheLimit(folder.file("big")), testing::ExitedWithCode(0), "");
  EXPECT_EQ(filesIn(folder.file("")), 0);
}

TEST(OutFolder, BringsEveryFileToTheDiskBeforeAnyGetsItsName) {
  const TemporaryFolder folder;
  OutFolder several(folder.file(""));
  synchronised().clear();
  several.write("a", "text");
  EXPECT_TRUE(synchronised().empty()) << "each flush is a wait: they come together";
  std::ofstream(several.path("b")) << "written by other means";
  EXPECT_EQ(several.commit({"b", "a"}),
            (std::vector<std::string>{folder.file("b"), folder.file("a")}));
  const std::vector<std::string> names = synchronised();
  ASSERT_EQ(names.size(), 5u);
  EXPECT_EQ(names[0], several.path("b"));
  EXPECT_EQ(names[1], several.path("a"));
  const std::string hidden = several.path("");
  EXPECT_EQ(names[2], hidden + ".moves.part") << "the list of what is under way";
  EXPECT_EQ(names[3] + "/", hidden) << "and its name";
  EXPECT_EQ(names[4] + "/", folder.file("")) << "the names come last";
  EXPECT_EQ(textOf(folder.file("a")), "text");
  EXPECT_EQ(textOf(folder.file("b")), "written by other means");
}

TEST(OutFolder, AFileThatIsMissingLeavesAllTheOthersUnmoved) {
  const TemporaryFolder folder;
  OutFolder several(folder.file(""));
  several.write("a", "text");
  try {
    several.commit({"a", "b"});
    FAIL();
  } catch (const Error& failure) {
    EXPECT_THAT(failure.what(), testing::HasSubstr(folder.file("b") + " cannot be written"));
  }
  EXPECT_FALSE(fileExists(folder.file("a")));
}

TEST(OutFolder, MessagesNameTheFolderThatTheUserKnows) {
  const TemporaryFolder folder;
  OutFolder several(folder.file("."));
  EXPECT_EQ(several.plain(several.path("a") + " is full"), folder.file("./a is full"));
  std::filesystem::create_directory(several.path("taken"));
  try {
    several.write("taken", "text");
    FAIL();
  } catch (const Error& failure) {
    EXPECT_THAT(failure.what(), testing::StartsWith(folder.file("./taken")));
  }
}

// Process numbers come again: what a killed run left behind is in nobody's way.
TEST(OutFile, LeftoversOfAnEarlierProcessAreNoObstacle) {
  const TemporaryFolder folder;
  const auto leftover = [&](int number) {
    return folder.file(".mirel-" + std::to_string(getpid()) + "-" + std::to_string(number) +
                       ".part");
  };
  for (int number = 0; number < 500; ++number)
    if (number % 2 == 0)
      std::ofstream(leftover(number)) << "x";
    else
      std::filesystem::create_directory(leftover(number));
  {
    OutFile file(folder.file("a"));
    file.write("text");
    file.commit();
    OutFolder several(folder.file(""));
    OutFile inside(several.path("b"));
    inside.write("text");
    inside.commit();
    several.commit({"b"});
  }
  EXPECT_EQ(textOf(folder.file("a")), "text");
  EXPECT_EQ(textOf(folder.file("b")), "text");
  EXPECT_EQ(filesIn(folder.file("")), 502) << "nothing of an earlier process is touched";
}

}  // namespace

}  // namespace mirel

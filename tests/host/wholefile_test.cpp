#include "host/wholefile.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "host/hosterror.h"
#include "support/projectfiles.h"

namespace {

int filesIn(const std::string& folder) {
  int count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
  return count;
}

TEST(WholeFile, appearsAtCommitAndNotBefore) {
  const TemporaryFolder folder;
  const std::string name = folder.file("result");
  WholeFile file(name);
  file.write("abc", 3);
  EXPECT_FALSE(fileExists(name));
  file.commit();
  EXPECT_EQ(textOf(name), "abc");
  EXPECT_EQ(filesIn(folder.file("")), 1);
}

TEST(WholeFile, withoutCommitTheFolderStaysAsItWas) {
  const TemporaryFolder folder;
  const std::string name = folder.file("result");
  std::ofstream(name) << "earlier";
  {
    WholeFile file(name);
    file.write("abc", 3);
  }
  EXPECT_EQ(textOf(name), "earlier");
  EXPECT_EQ(filesIn(folder.file("")), 1);
}

TEST(WholeFile, missingFolderIsRefusedByName) {
  const TemporaryFolder folder;
  const std::string name = folder.file("none/result");
  try {
    WholeFile file(name);
    FAIL();
  } catch (const HostError& failure) {
    EXPECT_THAT(failure.what(), testing::HasSubstr(name));
  }
}

TEST(WholeFile, aNameThatIsAFolderIsRefusedAndNothingIsLeftBehind) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.file("taken"));
  {
    WholeFile file(folder.file("taken"));
    file.write("abc", 3);
    EXPECT_THROW(file.commit(), HostError);
  }
  EXPECT_EQ(filesIn(folder.file("")), 1);
}

TEST(WholeFile, takesTheLongestFileName) {
  const TemporaryFolder folder;
  const std::string name = folder.file(std::string(255, 'n'));
  WholeFile file(name);
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
    WholeFile file(name);
    file.write(bytes.data(), bytes.size());
    file.commit();
  } catch (const HostError&) {
    std::_Exit(fileExists(name) ? 2 : 0);
  }
  std::_Exit(1);
}

// A full disk, as far as a test can have one.
TEST(WholeFile, aFailingWriteIsReportedAndLeavesNothing) {
  const TemporaryFolder folder;
  EXPECT_EXIT(writeBeyondTheLimit(folder.file("big")), testing::ExitedWithCode(0), "");
  EXPECT_EQ(filesIn(folder.file("")), 0);
}

}  // namespace

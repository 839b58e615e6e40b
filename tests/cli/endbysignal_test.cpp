// Commands that are no job, ended by a signal in the middle of their writing.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <thread>

#include "support/temporaryfolder.h"

namespace {

using namespace mirel;
namespace fs = std::filesystem;

bool holdsHidden(const std::string& folder) {
  std::error_code ignored;
  for (fs::directory_iterator entry(folder, ignored), end; !ignored && entry != end;
       entry.increment(ignored))
    if (entry->path().filename().string().starts_with(".mirel-")) return true;
  return false;
}

class EndBySignalOf : public testing::TestWithParam<int> {};

TEST_P(EndBySignalOf, APhantomLeavesNothing) {
  const TemporaryFolder folder;
  const std::string out = folder.file("out");
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    fclose(stdout);
    fclose(stderr);
    execl(MIREL_PROGRAM, "mirel", "phantom", out.c_str(), "--size", "64", "64", "40", "--volumes",
          "1000", static_cast<char*>(nullptr));
    _exit(127);
  }
  // Until it writes.
  for (int wait = 0; wait < 6000 && !holdsHidden(out); ++wait)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  ASSERT_TRUE(holdsHidden(out));
  kill(child, GetParam());
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 128 + GetParam());
  EXPECT_FALSE(holdsHidden(out));
}

INSTANTIATE_TEST_SUITE_P(Signals, EndBySignalOf, testing::Values(SIGINT, SIGTERM, SIGHUP));

}  // namespace

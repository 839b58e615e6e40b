#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <map>
#include <random>
#include <thread>

#include "cli/tinystudy.h"

namespace mirel {

// Runs on one output folder that are killed, or that are not alone.

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

using Files = std::map<std::string, std::string>;

class BidsKilled : public TinyStudy {
 protected:
  void SetUp() override {
    TinyStudy::SetUp();
    for (const char* label : {"01", "02", "03"}) subject(label);
  }

  /// The bytes of all results: of images, sidecars and the plan, but not of pages and logs, which
  /// tell times.
  Files results(const std::string& where) const {
    Files files;
    for (const auto& entry : fs::recursive_directory_iterator(where)) {
      const std::string name = entry.path().lexically_relative(where).string();
      if (!entry.is_regular_file() || name.ends_with(".log") || name.starts_with("logs/")) continue;
      files[name] = name.ends_with(".html") ? "" : textOf(entry.path().string());
    }
    return files;
  }

  std::vector<std::string> words(const std::string& output) const {
    return {"bids", raw(), output, "participant", "--n-cpus", "2"};
  }

  /// Starts a run and returns its process.
  pid_t start(const std::string& output) const {
    std::vector<std::string> line = words(output);
    line.insert(line.begin(), MIREL_PROGRAM);
    std::vector<char*> argv;
    for (std::string& word : line) argv.push_back(word.data());
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);
    execv(MIREL_PROGRAM, argv.data());
    _exit(127);
  }

  static double secondsOf(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  }
};

}  // namespace

TEST_F(BidsKilled, AtAnyMomentLeavesWhatTheNextRunGoesOnFrom) {
  ProgramResult alone;
  const double seconds = secondsOf([&] { alone = runMirel(words(folder.file("alone"))); });
  ASSERT_EQ(alone.status, 0) << alone.err;
  const Files expected = results(folder.file("alone"));
  std::mt19937 random(20261122);
  std::uniform_real_distribution<double> moment(0, 1.1 * seconds);
  int killed = 0;
  for (int repetition = 0; repetition < 12; ++repetition) {
    const double after = moment(random);
    const pid_t run = start(out());
    ASSERT_GT(run, 0);
    std::this_thread::sleep_for(std::chrono::duration<double>(after));
    kill(run, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(run, &status, 0), run);
    killed += WIFSIGNALED(status) ? 1 : 0;
    // What stands under a final name is whole.
    if (fs::exists(out()))
      for (const auto& [name, bytes] : results(out()))
        if (name.starts_with("sub-") && name.find("/.mirel-") == std::string::npos)
          EXPECT_TRUE(!expected.contains(name) || bytes == expected.at(name))
              << name << " after " << after << " s";
    const bool fromNothing = repetition % 2 == 1;
    if (!fromNothing) continue;
    const ProgramResult next = runMirel(words(out()));
    EXPECT_EQ(next.status, 0) << next.err;
    EXPECT_EQ(results(out()), expected) << "killed after " << after << " s";
    fs::remove_all(out());
  }
  EXPECT_GT(killed, 3);
}

TEST_F(BidsKilled, TwoRunsAtOnceDoNotHarmEachOther) {
  ASSERT_EQ(runMirel(words(folder.file("alone"))).status, 0);
  const Files expected = results(folder.file("alone"));
  for (int repetition = 0; repetition < 3; ++repetition) {
    ProgramResult first, second;
    std::thread other([&] { second = runMirel(words(out())); });
    first = runMirel(words(out()));
    other.join();
    for (const ProgramResult& run : {first, second}) {
      EXPECT_TRUE(run.status == 0 || run.status == 1) << run.status << run.err;
      EXPECT_THAT(run.err, HasSubstr(run.status == 0 ? "Done: " : "Not all done: "));
    }
    EXPECT_EQ(runMirel(words(out())).status, 0);
    EXPECT_EQ(results(out()), expected);
    fs::remove_all(out());
  }
}

}  // namespace mirel

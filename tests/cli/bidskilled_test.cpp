#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <map>
#include <random>
#include <thread>

#include "cli/tinystudy.h"
#include "support/killedprocess.h"

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

  /// The bytes of all results but of pages, which tell times, and logs.
  Files results() const {
    Files files;
    if (!fs::exists(out())) return files;
    for (const auto& entry : fs::recursive_directory_iterator(out())) {
      const std::string name = entry.path().lexically_relative(out()).string();
      if (!entry.is_regular_file() || name.ends_with(".log") || name.starts_with("logs/")) continue;
      files[name] = name.ends_with(".html") ? "" : textOf(entry.path().string());
    }
    return files;
  }

  /// Names of files that are in one of both alone, or differ; of `common` only those that differ.
  static std::vector<std::string> differences(const Files& expected, const Files& found,
                                              bool common = false) {
    std::vector<std::string> names;
    for (const auto& [name, bytes] : expected)
      if (!found.contains(name) ? !common : found.at(name) != bytes) names.push_back(name);
    for (const auto& [name, bytes] : found)
      if (!common && !expected.contains(name)) names.push_back(name);
    return names;
  }

  static std::vector<std::string> hiddenBelow(const std::string& path) {
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(path))
      if (entry.path().filename().string().starts_with(".mirel")) found.push_back(entry.path());
    return found;
  }

  ProgramResult run() const { return bids({"--n-cpus", "2"}); }

  /// The files of a run that is left alone, which are removed again.
  Files undisturbed() const {
    const ProgramResult alone = run();
    EXPECT_EQ(alone.status, 0) << alone.err;
    const Files files = results();
    fs::remove_all(out());
    return files;
  }

  /// Starts a run and returns its process.
  pid_t start() const {
    std::vector<std::string> line = {MIREL_PROGRAM, "bids",     raw(), out(),
                                     "participant", "--n-cpus", "2"};
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
  Files expected;
  double latest = 0.8 * secondsOf([&] { expected = undisturbed(); });
  std::mt19937 random(20261122);
  std::uniform_real_distribution<double> moment(0, 1);
  int killed = 0;
  for (int repetition = 1; repetition <= 12; ++repetition) {
    const double after = latest * moment(random);
    const pid_t child = start();
    ASSERT_GT(child, 0);
    std::this_thread::sleep_for(std::chrono::duration<double>(after));
    kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    killed += WIFSIGNALED(status) ? 1 : 0;
    if (!WIFSIGNALED(status)) latest *= 0.7;  // the first run was on a busier machine
    EXPECT_THAT(differences(expected, results(), /*common=*/true), testing::IsEmpty())
        << "not whole under their names after " << after << " s";
    if (repetition % 2 == 1) continue;  // killed twice before it may end
    const ProgramResult next = run();
    EXPECT_EQ(next.status, 0) << next.err;
    EXPECT_THAT(differences(expected, results()), testing::IsEmpty()) << after << " s";
    fs::remove_all(out());
  }
  EXPECT_GT(killed, 3);
}

// Killed with its last file moved, and while its folder of old files was being removed.
TEST_F(BidsKilled, WithAllResultsInTheirPlacesLeavesNothingAfterTheNextRun) {
  ASSERT_EQ(run().status, 0);
  const Files expected = results();
  for (const char* place : {"", "logs", "sub-01/fmap", "sub-02/func"}) {
    const std::string left = std::string("out/") + place + "/" + hiddenNameOf(goneProcess());
    fs::create_directory(folder.file(left));
    folder.write(left + "/.moves", "1 sub-01_desc-preproc_fieldmap.json" + std::string(1, 0));
    folder.write(left + "/sub-01_desc-preproc_fieldmap.json", "older");
  }
  EXPECT_EQ(run().status, 0);
  EXPECT_THAT(differences(expected, results()), testing::IsEmpty());
  EXPECT_THAT(hiddenBelow(out()), testing::IsEmpty());
}

// Killed between two moves: the results that are there already do not stand for the others.
TEST_F(BidsKilled, BetweenTwoMovesIsFinishedThoughTheFieldIsThere) {
  ASSERT_EQ(run().status, 0);
  const Files expected = results();
  const std::string fmap = "out/sub-01/fmap/", name = "sub-01_dir-AP_desc-voxels_vdm.nii.gz";
  const std::string left = fmap + hiddenNameOf(goneProcess());
  fs::create_directory(folder.file(left));
  fs::rename(folder.file(fmap + name), folder.file(left + "/" + name));
  struct stat status {};
  ASSERT_EQ(stat(folder.file(left + "/" + name).c_str(), &status), 0);
  folder.write(left + "/.moves", std::to_string(status.st_ino) + " " + name + std::string(1, 0));
  EXPECT_EQ(run().status, 0);
  EXPECT_THAT(differences(expected, results()), testing::IsEmpty());
}

TEST_F(BidsKilled, TwoRunsAtOnceDoNotHarmEachOther) {
  const Files expected = undisturbed();
  for (int repetition = 0; repetition < 3; ++repetition) {
    ProgramResult first, second;
    std::thread other([&] { second = run(); });
    first = run();
    other.join();
    for (const ProgramResult& each : {first, second}) {
      EXPECT_TRUE(each.status == 0 || each.status == 1) << each.status << each.err;
      EXPECT_THAT(each.err, HasSubstr(each.status == 0 ? "Done: " : "Not all done: "));
    }
    EXPECT_EQ(run().status, 0);
    EXPECT_THAT(differences(expected, results()), testing::IsEmpty());
    fs::remove_all(out());
  }
}

}  // namespace mirel

// Several runs of the program at the same time.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <thread>

#include "cli/program.h"
#include "support/temporaryfolder.h"

namespace {

using namespace mirel;
namespace fs = std::filesystem;

constexpr std::size_t subjects = 4;

class RunsTogether : public testing::Test {
 protected:
  void SetUp() override {
    const ProgramResult made =
        runMirel({"phantom", folder.file("in"), "--size", "12", "14", "8", "--volumes", "0"});
    ASSERT_EQ(made.status, 0) << made.err;
    for (std::size_t s = 0; s < subjects; ++s)
      for (const char* direction : {"AP", "PA"})
        for (const char* extension : {".nii.gz", ".json"})
          fs::copy_file(
              folder.file("in/sub-phantom_dir-" + std::string(direction) + "_epi" + extension),
              image(s, direction, extension));
  }

  std::string image(std::size_t subject, const std::string& direction,
                    const std::string& extension = ".nii.gz") const {
    return folder.file("in/sub-0" + std::to_string(subject) + "_dir-" + direction + "_epi" +
                       extension);
  }

  /// Runs the command of every subject at once; their results.
  std::array<ProgramResult, subjects> runAll(const std::string& out, bool sameSubject) const {
    std::array<ProgramResult, subjects> results;
    std::array<std::thread, subjects> runs;
    for (std::size_t s = 0; s < subjects; ++s) {
      const std::size_t subject = sameSubject ? 0 : s;
      runs[s] = std::thread([this, &results, &out, s, subject] {
        results[s] = runMirel({"correct", image(subject, "AP"), image(subject, "PA"), "--estimator",
                               "search", "--fast", "-o", out});
      });
    }
    for (std::thread& run : runs) run.join();
    return results;
  }

  TemporaryFolder folder;
};

TEST_F(RunsTogether, FourSubjectsIntoOneNewFolderAllSucceed) {
  for (int repetition = 0; repetition < 5; ++repetition) {
    const std::string out = folder.file("derivatives/new" + std::to_string(repetition));
    std::size_t files = 0;
    for (const ProgramResult& result : runAll(out, false)) {
      EXPECT_EQ(result.status, 0) << result.err;
      files = static_cast<std::size_t>(std::count(result.out.begin(), result.out.end(), '\n'));
    }
    EXPECT_GT(files, 3u);
    for (const auto& entry : fs::directory_iterator(out))
      EXPECT_FALSE(entry.path().filename().string().starts_with(".")) << entry.path();
  }
}

TEST_F(RunsTogether, TheSameRunFourTimesAtOnceGivesItsFiles) {
  const std::string alone = folder.file("alone"), out = folder.file("out");
  runMirel(
      {"correct", image(0, "AP"), image(0, "PA"), "--estimator", "search", "--fast", "-o", alone});
  for (const ProgramResult& result : runAll(out, true)) EXPECT_EQ(result.status, 0) << result.err;
  for (const auto& entry : fs::directory_iterator(alone)) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() == ".html") continue;  // tells the folder and the time
    EXPECT_EQ(textOf(out + "/" + name), textOf(entry.path().string())) << name;
  }
}

}  // namespace

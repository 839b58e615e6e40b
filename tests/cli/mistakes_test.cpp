#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "cli/correctpair.h"
#include "support/niftifiles.h"

namespace mirel {

// Words that are not what the program knows, and jobs that are ended.

namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(Mistakes, ACommandThatMayHaveBeenMeantIsNamed) {
  const struct {
    const char *typed, *meant;
  } words[] = {{"corect", "correct"},
               {"corerct", "correct"},
               {"aply", "apply"},
               {"pic", "picture"},
               {"estimat", "estimate"}};
  for (const auto& [typed, meant] : words) {
    const ProgramResult result = runMirel({typed, "a.nii", "b.nii", "-o", "out"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr(std::string("there is no command ") + typed +
                                      "; did you mean " + meant + "?"));
  }
  const ProgramResult result = runMirel({"xyzzy"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, AllOf(HasSubstr("there is no command xyzzy\n"), Not(HasSubstr("mean"))));
}

TEST(Mistakes, AnOptionThatMayHaveBeenMeantIsNamed) {
  const std::vector<std::vector<std::string>> lines = {
      {"correct", "a.nii", "b.nii", "-o", "out", "--thread", "2"},
      {"correct", "--thread=2", "a.nii", "b.nii", "-o", "out"},
      {"correct", "a.nii", "--treads", "2", "b.nii"}};
  for (const auto& line : lines) {
    const ProgramResult result = runMirel(line);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, AllOf(StartsWith("correct has no option --t"),
                                  HasSubstr("; did you mean --threads?\n")));
  }
  EXPECT_THAT(runMirel({"apply", "--modulated", "a.nii"}).err,
              HasSubstr("apply has no option --modulated; did you mean --modulate?"));
  EXPECT_THAT(runMirel({"--versoin"}).err,
              HasSubstr("mirel has no option --versoin; did you mean --version?"));
  EXPECT_THAT(runMirel({"info", "--xyzzy", "a.nii"}).err,
              HasSubstr("info has no option --xyzzy\n"));
}

TEST(Mistakes, HelpIsACommandToo) {
  EXPECT_EQ(runMirel({"help"}).out, runMirel({"--help"}).out);
  const ProgramResult help = runMirel({"help", "correct"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out, runMirel({"correct", "--help"}).out);
  EXPECT_THAT(help.out, HasSubstr("--overwrite"));
  const ProgramResult wrong = runMirel({"help", "corect"});
  EXPECT_EQ(wrong.status, 2);
  EXPECT_THAT(wrong.err, HasSubstr("did you mean correct?"));
  EXPECT_EQ(runMirel({"-V"}).out, runMirel({"--version"}).out);
}

TEST(Mistakes, WithJsonAnErrorIsJsonToo) {
  const ProgramResult missing =
      runMirel({"correct", "nowhere.nii", "b.nii", "-o", "out", "--json"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.err, HasSubstr("Error: nowhere.nii does not exist"));
  const json error = json::parse(missing.out)["error"];
  EXPECT_EQ(error["message"], "nowhere.nii does not exist");
  EXPECT_EQ(error["file"], "nowhere.nii");
  for (const char* command : {"info", "compare"})
    EXPECT_THAT(json::parse(runMirel({command, "nowhere.nii", "x.nii", "--json"}).out),
                testing::Contains(testing::_));
  const ProgramResult usage = runMirel({"correct", "--json", "--thread", "2"});
  EXPECT_EQ(usage.status, 2);
  EXPECT_THAT(json::parse(usage.out)["error"]["message"], HasSubstr("did you mean --threads?"));
  EXPECT_FALSE(json::parse(runMirel({"correct", "--json"}).out)["error"]["message"].empty());
}

class EndedJob : public CorrectPair {
 protected:
  /// The exit status of "mirel correct" of the pair, to which `signal` is sent once what it says
  /// tells of `stage`.
  int statusAfter(int signal, const std::string& stage) const {
    const std::string ap_ = ap(), pa_ = pa(), where = out(), told = file("told"),
                      result = file("result");
    std::filesystem::remove(told);
    const pid_t child = fork();
    if (child == 0) {
      dup2(open(told.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), STDERR_FILENO);
      dup2(open(result.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), STDOUT_FILENO);
      execl(MIREL_PROGRAM, MIREL_PROGRAM, "correct", ap_.c_str(), pa_.c_str(), "--json", "--ssd",
            "-o", where.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    const auto says = [&] {
      return std::filesystem::exists(told) && textOf(told).find(stage) != std::string::npos;
    };
    for (int tries = 0; tries < 6000 && !says(); ++tries)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(says()) << "it never came to that";
    kill(child, signal);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
  }
};

TEST_F(EndedJob, TheStatusTellsTheSignal) {
  const std::pair<int, int> ends[] = {{SIGINT, 130}, {SIGTERM, 143}, {SIGHUP, 129}};
  for (const auto& [signal, status] : ends) {
    EXPECT_EQ(statusAfter(signal, "Estimating"), status);
    EXPECT_FALSE(std::filesystem::exists(out()));
    EXPECT_THAT(textOf(file("told")), HasSubstr("nothing was written"));
    EXPECT_THAT(json::parse(textOf(file("result")))["error"]["message"], HasSubstr("interrupted"));
  }
}

}  // namespace

}  // namespace mirel

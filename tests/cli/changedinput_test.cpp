// Inputs that change while a command works on them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "cli/correctpair.h"
#include "nifti/image.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

// Reading small images takes a hundredth of it, a correction twenty times as long.
constexpr double busySeconds = 0.1;

// Processor time that a process has used.
double secondsOf(pid_t process) {
  std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
  const std::string text(std::istreambuf_iterator<char>(stat), {});
  std::istringstream fields(text.substr(text.rfind(')') + 1));
  std::string skipped;
  for (int n = 3; n < 14; ++n) fields >> skipped;
  double user = 0, system = 0;
  fields >> user >> system;
  return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

bool isRunning(pid_t process) {
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOHANG | WNOWAIT);
  return ended.si_pid == 0;
}

class ChangedInput : public CorrectPair {
 protected:
  void SetUp() override {
    for (const auto& entry : fs::directory_iterator(input("")))
      if (entry.is_regular_file()) fs::copy(entry.path(), file(entry.path().filename().string()));
  }

  std::string own(const std::string& name) const { return file("sub-phantom_" + name); }

  // Runs the command and writes the first byte of `changing` again once it is at work.
  ProgramResult runWhileChanging(std::vector<std::string> words,
                                 const std::string& changing) const {
    words.insert(words.begin(), MIREL_PROGRAM);
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    const std::string errors = file("errors.txt");
    const pid_t child = fork();
    if (child == 0) {
      const int target = open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      dup2(target, STDERR_FILENO);
      dup2(target, STDOUT_FILENO);
      execv(MIREL_PROGRAM, argv.data());
      _exit(127);
    }
    while (secondsOf(child) < busySeconds && isRunning(child))
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    touch(changing);
    ProgramResult result;
    int status = 0;
    waitpid(child, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    result.err = textOf(errors);
    return result;
  }

  static void touch(const std::string& name) {
    std::fstream stream(name, std::ios::in | std::ios::out | std::ios::binary);
    const char first = static_cast<char>(stream.get());
    stream.seekp(0);
    stream.put(first);
  }

  void expectRefused(const ProgramResult& result, const std::string& changed) const {
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, AllOf(HasSubstr("Error: "), HasSubstr(changed),
                                  HasSubstr("changed while it was being used")));
    EXPECT_FALSE(fs::exists(out())) << "results of something else were left";
  }
};

TEST_F(ChangedInput, OfThePairIsRefusedWithItsResults) {
  for (const std::string& changed : {own("dir-AP_epi.nii.gz"), own("dir-PA_epi.json")})
    expectRefused(runWhileChanging({"correct", own("dir-AP_epi.nii.gz"), own("dir-PA_epi.nii.gz"),
                                    "--quiet", "-o", out()},
                                   changed),
                  changed);
}

TEST_F(ChangedInput, OfTheSeriesIsRefusedWithItsResults) {
  const std::string series = own("task-rest_dir-AP_bold.nii.gz");
  expectRefused(runWhileChanging({"correct", own("dir-AP_epi.nii.gz"), own("dir-PA_epi.nii.gz"),
                                  "--quiet", "--apply", series, "-o", out()},
                                 series),
                series);
}

TEST_F(ChangedInput, OfGradientsIsRefusedWithItsResults) {
  const std::string series = own("task-rest_dir-AP_bold"), table = series + ".bval";
  std::string bValues;
  for (int n = 0; n < nifti::Reader(series + ".nii.gz").header().volumes; ++n) bValues += "700 ";
  std::ofstream(table) << bValues << "\n";
  expectRefused(runWhileChanging({"correct", own("dir-AP_epi.nii.gz"), own("dir-PA_epi.nii.gz"),
                                  "--quiet", "--apply", series + ".nii.gz", "-o", out()},
                                 table),
                table);
}

TEST_F(ChangedInput, ATableIsRefusedWithItsResults) {
  const std::string table = file("acqparams.txt");
  std::ofstream(table) << "0 -1 0 0.04\n0 1 0 0.04\n";
  expectRefused(runWhileChanging({"correct", own("dir-AP_epi.nii.gz"), own("dir-PA_epi.nii.gz"),
                                  "--datain", table, "--quiet", "-o", out()},
                                 table),
                table);
}

}  // namespace

}  // namespace mirel

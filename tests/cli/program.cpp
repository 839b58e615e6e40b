#include "cli/program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace mirel {

namespace {

void redirect(int descriptor, const std::string& fileName, int flags) {
  const int file = open(fileName.c_str(), flags, 0600);
  if (file < 0 || dup2(file, descriptor) < 0) _exit(126);
  close(file);
}

}  // namespace

ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& folder, const std::vector<std::string>& environment) {
  const TemporaryFolder captured;
  std::vector<std::string> words = {program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  std::vector<std::string> settings = environment;

  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no process to run the program in");
  if (child == 0) {
    redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
    redirect(STDOUT_FILENO, captured.file("out"), O_WRONLY | O_CREAT);
    redirect(STDERR_FILENO, captured.file("err"), O_WRONLY | O_CREAT);
    for (std::string& setting : settings) putenv(setting.data());
    if (chdir(folder.c_str()) != 0) _exit(126);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) throw std::runtime_error("the program got lost");
  ProgramResult result;
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
  result.out = textOf(captured.file("out"));
  result.err = textOf(captured.file("err"));
  return result;
}

ProgramResult runMirel(const std::vector<std::string>& arguments,
                       const std::vector<std::string>& environment) {
  return runProgram(MIREL_PROGRAM, arguments, std::filesystem::current_path().string(),
                    environment);
}

ProjectSketch distortedBall(float shiftVoxels) {
  ProjectSketch sketch;
  sketch.dims = {24, 28, 20};
  sketch.dataType = 1;
  sketch.voxel = [shiftVoxels](int column, int row, int slice, int) {
    const float x = static_cast<float>(column) - 11.5f;
    const float z = static_cast<float>(slice) - 9.5f;
    const float at = static_cast<float>(row) - 13.5f;
    const float y = at + shiftVoxels * std::exp(-(x * x + at * at + z * z) / 60.0f);
    const float radius = std::sqrt(x * x / 81 + y * y / 121 + z * z / 64);
    const float ball = 1000.0f / (1.0f + std::exp(12.0f * (radius - 1.0f)));
    return std::round(ball * (1.0f + 0.2f * std::sin(1.1f * y + 0.7f * x)));
  };
  return sketch;
}

}  // namespace mirel

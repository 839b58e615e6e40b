#include <exception>
#include <iostream>
#include <string>

#include "base/error.h"
#include "cli/advice.h"
#include "cli/command.h"
#include "host/session.h"

using namespace mirel;

namespace {

constexpr const char* description =
    "Mirel takes the geometric distortion out of echo-planar (EPI) MR images.\n"
    "\n"
    "From two images of a head with opposite phase-encoding directions it estimates the\n"
    "displacement of every voxel, and it corrects functional (FMR) and diffusion (DMR) projects\n"
    "with it. Inputs are never overwritten; results stand beside them.\n";

/// A result that did not reach standard output is a failure like any other.
void refuseLostOutput() {
  if (!std::cout.flush()) throw Error("cannot write to standard output");
}

int run(const Program& program) {
  try {
    const int status = program.action();
    refuseLostOutput();
    return status;
  } catch (const std::exception& failure) {
    hostSession().console.messageBox("Error: " + sentenceOf(failure));
  } catch (...) {
    hostSession().console.messageBox("Error: the plugin failed without saying why");
  }
  hostSession().console.stopBusyCursor();
  return exitFailure;
}

}  // namespace

int main(int argc, char** argv) {
  CommandLine line("mirel", description, "mirel " MIREL_VERSION);
  Command& app = line.root();
  Program program;
  app.add_option("--plugin", program.pluginFile,
                 "Load the plugin from FILE (default: libMirelPlugin.so beside the program)")
      ->type_name("FILE");
  addCorrectCommand(app, program);
  addEstimateCommand(app, program);
  addApplyCommand(app, program);
  addFieldCommand(app, program);
  addCheckCommand(app, program);
  addSelectCommand(app, program);
  addInfoCommand(app, program);
  addConvertCommand(app, program);
  addPhantomCommand(app, program);
  addPictureCommand(app, program);
  addCompareCommand(app, program);
  addGenerateCommand(app, program);
  switch (line.parse(argc, argv)) {
    case CommandLine::Outcome::answered:
      return exitSuccess;
    case CommandLine::Outcome::refused:
      return exitUsage;
    case CommandLine::Outcome::understood:
      break;
  }
  return run(program);
}

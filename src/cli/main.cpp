#include <exception>
#include <string>

#include "cli/command.h"
#include "host/session.h"

namespace {

constexpr const char* description =
    "Mirel takes the geometric distortion out of echo-planar (EPI) MR images.\n"
    "\n"
    "From two images of a head with opposite phase-encoding directions it estimates the\n"
    "displacement of every voxel, and it corrects functional (FMR) and diffusion (DMR) projects\n"
    "with it. Inputs are never overwritten; results stand beside them.";

int run(const Program& program) {
  try {
    return program.action();
  } catch (const std::exception& failure) {
    hostSession().console.messageBox(std::string("Error: ") + failure.what());
  } catch (...) {
    hostSession().console.messageBox("Error: the plugin failed without saying why");
  }
  hostSession().console.stopBusyCursor();
  return exitFailure;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(description, "mirel");
  Program program;
  app.set_version_flag("--version", "mirel " MIREL_VERSION);
  app.add_option("--plugin", program.pluginFile,
                 "Load the plugin from FILE instead of the one installed with the program")
      ->type_name("FILE");
  app.fallthrough();
  app.require_subcommand(1);
  addEstimateCommand(app, program);
  addApplyCommand(app, program);
  addCheckCommand(app, program);
  addSelectCommand(app, program);
  addInfoCommand(app, program);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& stop) {
    return app.exit(stop) == 0 ? exitSuccess : exitUsage;
  }
  return run(program);
}

#include <algorithm>
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

/// Lists the subcommands with the first sentence of their descriptions.
class OneSentenceFormatter : public CLI::Formatter {
 public:
  std::string make_subcommand(const CLI::App* command) const override {
    const std::string whole = command->get_description();
    std::string sentence = whole.substr(0, whole.find("\n\n"));
    sentence.erase(sentence.find_last_not_of('\n') + 1);
    std::replace(sentence.begin(), sentence.end(), '\n', ' ');
    std::string line = "  " + command->get_name();
    line.resize(std::max(line.size() + 1, get_column_width()), ' ');
    return line + sentence + "\n";
  }
};

/// An argument that is missing may have gone to an option that takes every word after it.
std::string hintFor(const CLI::App& app) {
  for (const CLI::App* command : app.get_subcommands())
    for (const CLI::Option* option : command->get_options())
      if (!option->get_positional() && option->count() > 1 &&
          option->get_items_expected_max() >= CLI::detail::expected_max_vector_size)
        return "(" + option->get_name() +
               " takes every name that follows it: put the others in front)\n";
  return {};
}

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
  CLI::App app(description, "mirel");
  Program program;
  app.set_version_flag("--version", "mirel " MIREL_VERSION);
  app.add_option("--plugin", program.pluginFile,
                 "Load the plugin from FILE (default: libMirelPlugin.so beside the program)")
      ->type_name("FILE");
  app.formatter(std::make_shared<OneSentenceFormatter>());
  app.get_formatter()->column_width(22);
  app.get_formatter()->label("REQUIRED", "");
  app.fallthrough();
  app.require_subcommand(1);
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
  try {
    app.parse(argc, argv);
  } catch (const CLI::RequiredError& stop) {
    app.exit(stop);
    std::cerr << hintFor(app);
    return exitUsage;
  } catch (const CLI::ParseError& stop) {
    return app.exit(stop) == 0 ? exitSuccess : exitUsage;
  }
  return run(program);
}

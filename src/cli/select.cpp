#include <filesystem>
#include <iostream>
#include <memory>

#include "base/error.h"
#include "cli/command.h"
#include "files/projectinfo.h"
#include "host/session.h"
#include "host/task.h"

namespace mirel {

namespace {

constexpr const char* selectDescription =
    "Run the selection task as the dialog does when a file is picked.\n"
    "\n"
    "Prints filename, nr_of_volumes and display_volume (counted from 1) of a project (.fmr or\n"
    ".dmr), or filename of a map (_vdm.map).\n";

/// The selection task for a file of this name.
std::string taskFor(const std::string& fileName) {
  refuseImpossibleName(fileName);
  const bool isMap = isVdmName(fileName);
  if (!isMap && !isProjectName(fileName))
    throw Error(fileName, "is neither a project (.fmr, .dmr) nor a map (_vdm.map)");
  std::error_code error;
  if (!std::filesystem::exists(fileName, error)) throw Error("there is no file " + fileName);
  return isMap ? "select_vdm" : "select_fmr_or_dmr";
}

int runSelect(const std::string& fileName, const std::string& pluginFile) {
  const std::string task = taskFor(fileName);
  Plugin plugin(findPlugin(pluginFile));
  HostSession& session = hostSession();
  session.openFileAnswer = fileName;
  if (!runTask(plugin, task)) return exitFailure;
  std::cout << "filename: " << session.parameters.text("filename").value_or("") << "\n";
  for (const char* name : {"nr_of_volumes", "display_volume"})
    if (const auto value = session.parameters.integer(name))
      std::cout << name << ": " << *value << "\n";
  return exitSuccess;
}

}  // namespace

void addSelectCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("select", selectDescription);
  const auto file = std::make_shared<std::string>();
  command->add_option("FILE", *file, "The file to pick")->type_name("")->required();
  command->callback([file, &program] {
    program.action = [file, &program] { return runSelect(*file, program.pluginFile); };
  });
}

}  // namespace mirel

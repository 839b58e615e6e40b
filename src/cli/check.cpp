#include <memory>

#include "cli/command.h"
#include "host/task.h"

namespace mirel {

namespace {

constexpr const char* checkDescription =
    "Check that files are projects by their names and can be opened.\n"
    "\n"
    "A quick test before 'mirel apply'; it reads no content. Shows all findings and then exits\n"
    "with status 1.\n";

int runCheck(const std::vector<std::string>& files, const std::string& pluginFile) {
  for (const std::string& file : files) refuseImpossibleName(file);
  Plugin plugin(findPlugin(pluginFile));
  return runTaskOnFiles(plugin, "check", files) ? exitSuccess : exitFailure;
}

}  // namespace

void addCheckCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("check", checkDescription);
  const auto files = std::make_shared<std::vector<std::string>>();
  command->add_option("FILE", *files, "Projects to check (.fmr or .dmr)")
      ->type_name("")
      ->required();
  command->callback([files, &program] {
    program.action = [files, &program] { return runCheck(*files, program.pluginFile); };
  });
}

}  // namespace mirel

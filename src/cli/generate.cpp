#include <filesystem>
#include <memory>

#include "base/error.h"
#include "base/outputfile.h"
#include "cli/command.h"
#include "cli/completion.h"
#include "cli/manpage.h"

namespace mirel {

namespace {

constexpr const char* generateDescription =
    "Write manual pages and completion for shells into a folder, laid out like share/.\n";

void writeText(const std::filesystem::path& file, const std::string& text) {
  std::error_code error;
  std::filesystem::create_directories(file.parent_path(), error);
  if (error) throw Error(file.parent_path().string(), "cannot be made: " + error.message());
  OutFile out(file.string());
  out.write(text);
  out.commit();
}

int runGenerate(const ListedCommand& program, const std::filesystem::path& folder) {
  const std::string version = program.name + " " MIREL_VERSION;
  const std::filesystem::path manuals = folder / "man" / "man1";
  writeText(manuals / (program.name + ".1"), manualOf(program, version));
  for (const ListedCommand& command : program.commands)
    writeText(manuals / (program.name + "-" + command.name + ".1"),
              manualOf(program, command, version));
  writeText(folder / "bash-completion" / "completions" / program.name, bashCompletionOf(program));
  writeText(folder / "zsh" / "site-functions" / ("_" + program.name), zshCompletionOf(program));
  return exitSuccess;
}

}  // namespace

void addGenerateCommand(Command& app, Program& program) {
  Command* command = app.add_subcommand("generate", generateDescription);
  command->hide();
  const auto folder = std::make_shared<std::string>();
  command->add_option("DIR", *folder, "The folder to write to; made if need be")
      ->type_name("")
      ->required();
  command->callback([folder, &app, &program] {
    program.action = [folder, &app] { return runGenerate(app.list(), *folder); };
  });
}

}  // namespace mirel

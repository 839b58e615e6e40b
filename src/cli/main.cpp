#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "base/error.h"
#include "base/json.h"
#include "cli/advice.h"
#include "cli/command.h"
#include "cli/interrupt.h"
#include "cli/reportfacts.h"
#include "host/session.h"

using namespace mirel;

namespace {

constexpr const char* description =
    "Mirel takes the geometric distortion out of echo-planar (EPI) MR images.\n"
    "\n"
    "From two images of a head with opposite phase-encoding directions it estimates the\n"
    "displacement of every voxel, and it corrects functional (FMR) and diffusion (DMR) projects\n"
    "with it. Inputs are never overwritten; results stand beside them.\n";

constexpr const char* noMemory = "there is not enough memory";

/// A result that did not reach standard output is a failure like any other.
void refuseLostOutput() {
  if (!std::cout.flush()) throw Error("cannot write to standard output");
}

/// For programs that read what --json prints: what was shown as a sentence, as an object.
void printAsJson(const std::string& sentence, const std::string& file, const std::string& field) {
  Json error = {{"message", sentence}};
  if (!file.empty()) error["file"] = file;
  if (!field.empty()) error["field"] = field;
  std::cout << Json{{"error", error}}.dump(2, Json::NotUtf8::replaced) << "\n";
}

void tell(const std::exception& failure, bool asJson) {
  const std::string sentence = sentenceOf(failure);
  hostSession().console.messageBox("Error: " + sentence);
  if (!asJson) return;
  const auto* error = dynamic_cast<const Error*>(&failure);
  printAsJson(sentence, error != nullptr ? error->file() : "",
              error != nullptr ? error->field() : "");
}

int refused(const CommandLine& line, bool asJson) {
  if (asJson) printAsJson(line.refusal(), "", "");
  return exitUsage;
}

int run(const Program& program, CommandLine& line, bool asJson) {
  try {
    const int status = program.action();
    refuseLostOutput();
    return status;
  } catch (const UsageError& mistake) {
    line.refuse(mistake.what());
    return refused(line, asJson);
  } catch (const Interrupted& stop) {
    tell(stop, asJson);
    return stop.exitStatus();
  } catch (const std::bad_alloc&) {
    // What the action held is free again; if that is not enough to say it, main does.
    tell(Error(noMemory), asJson);
  } catch (const std::exception& failure) {
    tell(failure, asJson);
  } catch (...) {
    hostSession().console.messageBox("Error: the plugin failed without saying why");
  }
  hostSession().console.stopBusyCursor();
  return exitFailure;
}

int runLine(int argc, char** argv) {
  CommandLine line("mirel", description, "mirel " MIREL_VERSION);
  Command& app = line.root();
  Program program;
  program.command = commandText(argc, argv);
  app.add_option("--plugin", program.pluginFile,
                 "Load the plugin from FILE (default: libMirelPlugin.so beside the program)")
      ->type_name("FILE");
  addCommands(app, program);
  // Looked for in the words themselves: it holds for a line that is not understood, too.
  const bool asJson = std::find(argv, argv + argc, std::string("--json")) != argv + argc;
  switch (line.parse(argc, argv)) {
    case CommandLine::Outcome::answered:
      return exitSuccess;
    case CommandLine::Outcome::refused:
      return refused(line, asJson);
    case CommandLine::Outcome::understood:
      break;
  }
  return run(program, line, asJson);
}

}  // namespace

int main(int argc, char** argv) {
  // A limit on the size of files is told like a full disk, a reader that went away like one, too.
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return runLine(argc, argv);
  } catch (const std::bad_alloc&) {
    std::fputs("Error: ", stderr);
    std::fputs(noMemory, stderr);
    std::fputs("\n", stderr);
  } catch (const std::exception& failure) {
    std::fputs("Error: ", stderr);
    std::fputs(failure.what(), stderr);
    std::fputs("\n", stderr);
  }
  return exitFailure;
}

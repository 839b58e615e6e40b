#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/commandlist.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace mirel {

/// The command line: a narrow front of CLI11 with its names, so that its documentation holds. The
/// parser is a header of 8000 lines, of which every file that includes it compiles a copy; here
/// one file does.

class Option {
 public:
  explicit Option(CLI::Option* parsers) : option(parsers) {}

  /// What help shows for the value, "" for nothing.
  Option* type_name(const std::string& name);
  Option* required();
  Option* needs(const Option* other);
  Option* excludes(const Option* other);
  /// The number of values: of a list one or `least` to `most` in all, or with take_all() one each
  /// time.
  Option* expected(int count);
  Option* expected(int least, int most);
  Option* take_all();
  /// Help shows the variable's present value.
  Option* capture_default_str();

  /// `refusal` returns what is wrong with a value, "" for nothing.
  Option* check(const std::function<std::string(const std::string&)>& refusal);
  Option* one_of(std::initializer_list<const char*> words);
  Option* in_range(int least, int most);
  Option* not_negative();
  Option* positive();

  /// How often it was given.
  std::size_t count() const;
  std::string get_name() const;

 private:
  friend class Command;

  CLI::Option* option;
  bool number = false;
  std::string value;
  std::vector<std::string> words;
};

/// One subcommand, or the program itself. Commands and options live as long as the program's.
class Command {
 public:
  explicit Command(CLI::App* parsers) : app(parsers) {}
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  Command* add_subcommand(const std::string& name, const std::string& description);
  /// Value  std::string, int, std::uint64_t, double, std::vector of std::string, int or double;
  ///        another type needs a line at the end of commandline.cpp.
  template <class Value>
  Option* add_option(const std::string& names, Value& value, const std::string& description);
  /// `take` is called with the value.
  Option* add_option_function(const std::string& names,
                              const std::function<void(const std::string&)>& take,
                              const std::string& description);
  Option* add_option_function(const std::string& names, const std::function<void(double)>& take,
                              const std::string& description);
  Option* add_flag(const std::string& names, bool& value, const std::string& description);
  /// What to do once the command is parsed. It may call the functions below.
  void callback(const std::function<void()>& action);
  /// Help does not show it.
  void hide();

  ListedCommand list() const;

 private:
  Option* keep(CLI::Option* parsers, bool number);
  ListedOption listed(const CLI::Option& parsers) const;

  CLI::App* app;
  std::list<Option> options;  // keeps their addresses
  std::list<Command> subcommands;
};

/// What a command throws that finds, once it knows its files, that the line is not a usage.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// For callbacks: the line is not a usage, "WHAT is required".
[[noreturn]] void refuseMissing(const std::string& what);
/// "OPTION requires NEEDED".
[[noreturn]] void refuseWithout(const std::string& option, const std::string& needed);
/// "OPTION excludes OTHER".
[[noreturn]] void refuseTogether(const std::string& option, const std::string& other);

/// A program of subcommands, of which one is to be named.
class CommandLine {
 public:
  CommandLine(const std::string& name, const std::string& description, const std::string& version);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  Command& root() { return command; }

  enum class Outcome {
    understood,  ///< the named command's callback has run
    answered,    ///< --help or --version, on standard output
    refused,     ///< the reason is on standard error
  };
  /// "help" and "help COMMAND" mean --help and COMMAND --help. A command or an option that there is
  /// not is named, with the one that may have been meant. Another line may be parsed afterwards.
  Outcome parse(int argc, char** argv);
  /// Tells why the line is not a usage.
  Outcome refuse(const std::string& sentence);
  /// Why the line was refused, in one sentence; empty when it was not.
  const std::string& refusal() const { return reason; }

 private:
  std::string unknownCommand(const std::vector<std::string>& words) const;
  std::string unknownOption(const std::vector<std::string>& words) const;

  std::unique_ptr<CLI::App> app;
  Command command;
  std::string reason;
};

}  // namespace mirel

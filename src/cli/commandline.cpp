#include "cli/commandline.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <iostream>
#include <type_traits>
#include <utility>

#include "cli/suggestion.h"

namespace mirel {

namespace {

std::string firstSentence(const std::string& description) {
  std::string sentence = description.substr(0, description.find("\n\n"));
  sentence.erase(sentence.find_last_not_of('\n') + 1);
  std::replace(sentence.begin(), sentence.end(), '\n', ' ');
  return sentence;
}

/// Lists the subcommands with the first sentence of their descriptions, and says of options how
/// many values they take.
class OneSentenceFormatter : public CLI::Formatter {
 public:
  std::string make_subcommand(const CLI::App* command) const override {
    const std::string sentence = firstSentence(command->get_description());
    std::string line = "  " + command->get_name();
    line.resize(std::max(line.size() + 1, get_column_width()), ' ');
    return line + sentence + "\n";
  }

  // "S x 2" would be exactly two.
  std::string make_option_opts(const CLI::Option* option) const override {
    std::string told = CLI::Formatter::make_option_opts(option);
    const int least = option->get_expected_min();
    const std::string exactly = " x " + std::to_string(least);
    const std::size_t at = told.find(exactly);
    if (option->get_expected_max() > least && at != std::string::npos)
      told.insert(at + exactly.size(), " or more");
    return told;
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

/// Numbers and lists of them; a text is none.
template <class Value>
constexpr bool isNumber = std::is_arithmetic_v<Value>;
template <class Value>
constexpr bool isNumber<std::vector<Value>> = std::is_arithmetic_v<Value>;

using Words = std::vector<std::string>;

/// The first word that is neither an option of the program nor the value of one.
Words::const_iterator commandIn(const Words& words) {
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (*word == "--plugin" && word + 1 != words.end())
      ++word;
    else if (word->empty() || word->front() != '-')
      return word;
  }
  return words.end();
}

/// Null when there is none of that name.
const CLI::App* subcommand(const CLI::App& app, const std::string& name) {
  for (const CLI::App* each : app.get_subcommands({}))
    if (each->get_name() == name) return each;
  return nullptr;
}

bool isLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

Words longOptions(const std::vector<const CLI::App*>& apps) {
  Words names;
  for (const CLI::App* each : apps)
    for (const CLI::Option* option : each->get_options())
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

std::string didYouMean(const std::string& word, const Words& known) {
  const std::string meant = nearestWord(word, known);
  return meant.empty() ? "" : "; did you mean " + meant + "?";
}

}  // namespace

Option* Option::type_name(const std::string& name) {
  option->type_name(name);
  value = name;
  return this;
}

Option* Option::required() {
  option->required();
  return this;
}

Option* Option::may_be_empty() {
  emptyAllowed = true;
  return this;
}

Option* Option::needs(const Option* other) {
  option->needs(other->option);
  return this;
}

Option* Option::excludes(const Option* other) {
  option->excludes(other->option);
  return this;
}

Option* Option::expected(int count) {
  option->expected(count);
  return this;
}

Option* Option::expected(int least, int most) {
  option->expected(least, most);
  return this;
}

Option* Option::take_all() {
  option->take_all();
  return this;
}

Option* Option::capture_default_str() {
  option->capture_default_str();
  return this;
}

Option* Option::check(const std::function<std::string(const std::string&)>& refusal) {
  option->check(refusal);
  return this;
}

Option* Option::one_of(std::initializer_list<const char*> allowed) {
  words.assign(allowed.begin(), allowed.end());
  option->check(CLI::IsMember(words));
  return this;
}

Option* Option::in_range(int least, int most) {
  option->check(CLI::Range(least, most));
  return this;
}

Option* Option::not_negative() {
  option->check(CLI::NonNegativeNumber);
  return this;
}

Option* Option::positive() {
  option->check(CLI::PositiveNumber);
  return this;
}

std::size_t Option::count() const { return option->count(); }

std::string Option::get_name() const { return option->get_name(); }

Option* Command::keep(CLI::Option* parsers, bool number) {
  Option& option = options.emplace_back(parsers);
  option.number = number;
  if (parsers->get_items_expected_max() > 0) option.value = number ? "N" : "TEXT";
  if (!number && parsers->get_items_expected_max() > 0)
    parsers->check([&option](const std::string& given) {
      return given.empty() && !option.emptyAllowed ? "its value is empty" : std::string();
    });
  return &option;
}

Command* Command::add_subcommand(const std::string& name, const std::string& description) {
  return &subcommands.emplace_back(app->add_subcommand(name, description));
}

template <class Value>
Option* Command::add_option(const std::string& names, Value& value,
                            const std::string& description) {
  return keep(app->add_option(names, value, description), isNumber<Value>);
}

Option* Command::add_option_function(const std::string& names,
                                     const std::function<void(const std::string&)>& take,
                                     const std::string& description) {
  return keep(app->add_option_function<std::string>(names, take, description), false);
}

Option* Command::add_option_function(const std::string& names,
                                     const std::function<void(double)>& take,
                                     const std::string& description) {
  return keep(app->add_option_function<double>(names, take, description), true);
}

Option* Command::add_flag(const std::string& names, bool& value, const std::string& description) {
  return keep(app->add_flag(names, value, description), false);
}

void Command::callback(const std::function<void()>& action) { app->callback(action); }

void Command::hide() { app->group(""); }

ListedOption Command::listed(const CLI::Option& parsers) const {
  ListedOption listed;
  for (const std::string& name : parsers.get_snames()) listed.names.push_back("-" + name);
  for (const std::string& name : parsers.get_lnames()) listed.names.push_back("--" + name);
  listed.description = parsers.get_description();
  listed.required = parsers.get_required();
  listed.many = parsers.get_items_expected_max() >= CLI::detail::expected_max_vector_size;
  listed.defaultValue = parsers.get_default_str();
  // The parser's own --help and --version are not among ours.
  const auto ours = std::find_if(options.begin(), options.end(), [&parsers](const Option& option) {
    return option.option == &parsers;
  });
  if (ours != options.end()) {
    listed.value = ours->value;
    listed.words = ours->words;
    listed.number = ours->number;
  }
  if (listed.isArgument()) listed.value = parsers.get_name(/*positional=*/true);
  return listed;
}

ListedCommand Command::list() const {
  ListedCommand listed{app->get_name(), app->get_description(), {}, {}};
  for (const CLI::Option* option : std::as_const(*app).get_options())
    if (!option->get_group().empty()) listed.options.push_back(this->listed(*option));
  for (const Command& command : subcommands)
    if (!command.app->get_group().empty()) listed.commands.push_back(command.list());
  return listed;
}

std::string ListedCommand::summary() const { return firstSentence(description); }

void refuseMissing(const std::string& what) { throw CLI::RequiredError(what); }

void refuseWithout(const std::string& option, const std::string& needed) {
  throw CLI::RequiresError(option, needed);
}

void refuseTogether(const std::string& option, const std::string& other) {
  throw CLI::ExcludesError(option, other);
}

CommandLine::CommandLine(const std::string& name, const std::string& description,
                         const std::string& version)
    : app(std::make_unique<CLI::App>(description, name)), command(app.get()) {
  app->set_version_flag("-V,--version", version);
  app->footer("'mirel help COMMAND' tells the same as 'mirel COMMAND --help'.");
  app->formatter(std::make_shared<OneSentenceFormatter>());
  app->get_formatter()->column_width(22);
  app->get_formatter()->label("REQUIRED", "");
  app->fallthrough();
  app->require_subcommand(1);
}

CommandLine::~CommandLine() = default;

CommandLine::Outcome CommandLine::refuse(const std::string& sentence) {
  reason = sentence;
  std::cerr << sentence << "\nRun with --help for more information.\n";
  return Outcome::refused;
}

std::string CommandLine::unknownCommand(const std::vector<std::string>& words) const {
  const auto at = commandIn(words);
  if (at == words.end() || subcommand(*app, *at) != nullptr) return {};
  std::vector<std::string> names;
  for (const CLI::App* each : app->get_subcommands({}))
    if (!each->get_group().empty()) names.push_back(each->get_name());
  return "there is no command " + *at + didYouMean(*at, names);
}

// The first word that looks like an option, and neither the command nor the program has it.
std::string CommandLine::unknownOption(const std::vector<std::string>& words) const {
  const auto at = commandIn(words);
  std::vector<const CLI::App*> apps = {app.get()};
  if (at != words.end()) apps.push_back(subcommand(*app, *at));
  for (const std::string& word : words) {
    if (word == "--") break;
    if (word.size() < 2 || word[0] != '-' || (word[1] != '-' && !isLetter(word[1]))) continue;
    const std::string name = word[1] == '-' ? word.substr(0, word.find('=')) : word.substr(0, 2);
    if (std::any_of(apps.begin(), apps.end(), [&](const CLI::App* each) {
          return each->get_option_no_throw(name) != nullptr;
        }))
      continue;
    const std::string who = at == words.end() ? app->get_name() : *at;
    return who + " has no option " + name + didYouMean(name, longOptions(apps));
  }
  return {};
}

CommandLine::Outcome CommandLine::parse(int argc, char** argv) {
  reason.clear();
  std::vector<std::string> words(argv + 1, argv + argc);
  if (const auto at = commandIn(words); at != words.end() && *at == "help")
    words = at + 1 == words.end() ? std::vector<std::string>{"--help"}
                                  : std::vector<std::string>{*(at + 1), "--help"};
  const std::string noSuchCommand = unknownCommand(words);
  if (!noSuchCommand.empty()) return refuse(noSuchCommand);
  try {
    // The parser takes them from the back.
    app->parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::ParseError& stop) {
    if (stop.get_exit_code() == 0) {
      app->exit(stop);
      return Outcome::answered;
    }
    const std::string noSuchOption = unknownOption(words);
    if (!noSuchOption.empty()) return refuse(noSuchOption);
    refuse(stop.what());
    if (dynamic_cast<const CLI::RequiredError*>(&stop) != nullptr) std::cerr << hintFor(*app);
    return Outcome::refused;
  }
  return Outcome::understood;
}

template Option* Command::add_option(const std::string&, std::string&, const std::string&);
template Option* Command::add_option(const std::string&, int&, const std::string&);
template Option* Command::add_option(const std::string&, std::uint64_t&, const std::string&);
template Option* Command::add_option(const std::string&, double&, const std::string&);
template Option* Command::add_option(const std::string&, std::vector<std::string>&,
                                     const std::string&);
template Option* Command::add_option(const std::string&, std::vector<int>&, const std::string&);
template Option* Command::add_option(const std::string&, std::vector<double>&, const std::string&);

}  // namespace mirel

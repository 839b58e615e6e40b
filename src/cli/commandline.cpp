#include "cli/commandline.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <type_traits>
#include <utility>

namespace mirel {

namespace {

std::string firstSentence(const std::string& description) {
  std::string sentence = description.substr(0, description.find("\n\n"));
  sentence.erase(sentence.find_last_not_of('\n') + 1);
  std::replace(sentence.begin(), sentence.end(), '\n', ' ');
  return sentence;
}

/// Lists the subcommands with the first sentence of their descriptions.
class OneSentenceFormatter : public CLI::Formatter {
 public:
  std::string make_subcommand(const CLI::App* command) const override {
    const std::string sentence = firstSentence(command->get_description());
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

/// Numbers and lists of them; a text is none.
template <class Value>
constexpr bool isNumber = std::is_arithmetic_v<Value>;
template <class Value>
constexpr bool isNumber<std::vector<Value>> = std::is_arithmetic_v<Value>;

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
  app->set_version_flag("--version", version);
  app->formatter(std::make_shared<OneSentenceFormatter>());
  app->get_formatter()->column_width(22);
  app->get_formatter()->label("REQUIRED", "");
  app->fallthrough();
  app->require_subcommand(1);
}

CommandLine::~CommandLine() = default;

CommandLine::Outcome CommandLine::parse(int argc, char** argv) {
  try {
    app->parse(argc, argv);
  } catch (const CLI::RequiredError& stop) {
    app->exit(stop);
    std::cerr << hintFor(*app);
    return Outcome::refused;
  } catch (const CLI::ParseError& stop) {
    return app->exit(stop) == 0 ? Outcome::answered : Outcome::refused;
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

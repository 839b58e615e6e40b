#include <string>

#include "cli/completion.h"

namespace mirel {

namespace {

/// In single quotes.
std::string quotedForZsh(const std::string& text) {
  std::string safe;
  for (const char character : text)
    safe += character == '\'' ? std::string("'\\''") : std::string(1, character);
  return "'" + safe + "'";
}

/// A text inside of a specification, where colons and brackets have a meaning.
std::string escapedForZsh(const std::string& text) {
  std::string safe;
  for (const char character : text) {
    if (character == ':' || character == '[' || character == ']' || character == '\\') safe += '\\';
    safe += character;
  }
  return safe;
}

/// The first line, as far as it is a sentence: there is room for one line beside an option.
std::string brief(const std::string& description) {
  std::string line = description.substr(0, description.find('\n'));
  const bool whole = line.size() == description.size();
  const std::size_t note = line.find(" (default: ");
  if (note != std::string::npos) line.resize(note);
  return whole || note != std::string::npos ? line : line + " ...";
}

/// ":NAME:WHAT TO OFFER"
std::string zshValueOf(const ListedOption& option) {
  std::string offered = "_files";
  if (option.number) offered = " ";
  if (!option.words.empty()) {
    offered = "(";
    for (const std::string& word : option.words) offered += (offered == "(" ? "" : " ") + word;
    offered += ")";
  }
  return ":" + escapedForZsh(option.value) + ":" + offered;
}

std::string specificationsOf(const ListedOption& option) {
  if (option.isArgument())
    return "  " + quotedForZsh((option.many ? "*" : "") + zshValueOf(option));
  std::string all, text;
  for (const std::string& name : option.names) all += (all.empty() ? "" : " ") + name;
  for (const std::string& name : option.names) {
    const std::string head = option.many ? "*" : "(" + all + ")";
    const std::string equals = !option.isFlag() && name.starts_with("--") ? "=" : "";
    text += (text.empty() ? "  " : " ") +
            quotedForZsh(head + name + equals + "[" + escapedForZsh(brief(option.description)) +
                         "]" + (option.isFlag() ? "" : zshValueOf(option)));
  }
  return text;
}

/// The arguments of _arguments.
std::string specificationsOf(const ListedCommand& command) {
  std::string text;
  for (const ListedOption& option : command.options) text += " \\\n    " + specificationsOf(option);
  return text;
}

}  // namespace

std::string zshCompletionOf(const ListedCommand& program) {
  std::string names, cases;
  for (const ListedCommand& command : program.commands) {
    names += "    " + quotedForZsh(command.name + ":" + escapedForZsh(command.summary())) + "\n";
    cases += "    " + command.name + ") _arguments" + specificationsOf(command) + " ;;\n";
  }
  const std::string function = "_" + program.name;
  return "#compdef " + program.name + "\n# Completion of " + program.name + " for zsh.\n" +
         function + "() {\n  local context state state_descr line\n  typeset -A opt_args\n" +
         "  local -a commands=(\n" + names + "  )\n" + "  _arguments -C" +
         specificationsOf(program) +
         " \\\n      '1:command:->command' '*::argument:->arguments'\n" +
         "  case $state in\n    command) _describe command commands; return ;;\n" +
         "    arguments) ;;\n    *) return ;;\n  esac\n  case $line[1] in\n" + cases +
         "  esac\n}\n" + function + " \"$@\"\n";
}

}  // namespace mirel

#include <string>

#include "base/joined.h"
#include "cli/completion.h"

namespace mirel {

namespace {

/// How the script starts: finds the word to complete, the one before it and the command.
///
/// "--option=value" arrives as three words. The word that is completed may be the command itself.
constexpr const char* head =
    R"(  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local command= options= words= i
  COMPREPLY=()
  if [[ $current == = ]]; then
    current=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD-2]}
  fi
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in
)";

/// How it ends. Where it offers nothing, readline offers files: with its own quoting.
constexpr const char* tail = R"(  if [[ -n $words ]]; then
    COMPREPLY=($(compgen -W "$words" -- "$current"))
    compopt +o default 2>/dev/null
  elif [[ $current == -* ]]; then
    COMPREPLY=($(compgen -W "$options" -- "$current"))
    compopt +o default 2>/dev/null
  fi
}
)";

std::string optionNames(const ListedCommand& command) {
  std::string text;
  for (const ListedOption& option : command.options)
    if (!option.isArgument()) text += (text.empty() ? "" : " ") + joined(option.names, " ");
  return text;
}

/// What is offered after an option: the patterns "COMMAND:OPTION" of a case.
struct Values {
  std::string files, numbers, words;

  void add(const std::string& command, const ListedOption& option) {
    if (option.isArgument() || option.isFlag()) return;
    std::string pattern;
    for (const std::string& name : option.names)
      pattern += (pattern.empty() ? "" : "|") + command + ":" + name;
    if (!option.words.empty())
      words += "    " + pattern + ") words='" + joined(option.words, " ") + "' ;;\n";
    else
      (option.number ? numbers : files) += "|" + pattern;
  }

  std::string cases() const {
    return words + "    ''" + files + ") return ;;\n" + "    ''" + numbers +
           ") compopt +o default 2>/dev/null; return ;;\n";
  }
};

}  // namespace

std::string bashCompletionOf(const ListedCommand& program) {
  std::vector<std::string> names;
  std::string options;
  Values values;
  for (const ListedOption& option : program.options) values.add("*", option);
  for (const ListedCommand& command : program.commands) {
    names.push_back(command.name);
    options += "    " + command.name + ") options='" + optionNames(command) + "' ;;\n";
    for (const ListedOption& option : command.options) values.add(command.name, option);
  }
  const std::string function = "_" + program.name, commands = joined(names, " ");
  std::string script = "# Completion of " + program.name + " for bash.\n" + function + "() {\n";
  script += head;
  script +=
      "      " + joined(names, "|") + ") command=${COMP_WORDS[i]}; break ;;\n    esac\n  done\n";
  script += "  case $command in\n    '') options='" + optionNames(program) + "'\n";
  script += "      [[ $current == -* ]] || words='" + commands + "' ;;\n" + options + "  esac\n";
  script += "  case $command:$previous in\n" + values.cases() + "  esac\n";
  script += tail;
  return script + "complete -o default -F " + function + " " + program.name + "\n";
}

}  // namespace mirel

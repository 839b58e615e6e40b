#include "cli/manpage.h"

#include <cctype>
#include <sstream>

#include "cli/command.h"

namespace mirel {

namespace {

/// A text as it is to be printed. A hyphen is one that can be copied into a shell.
std::string escaped(const std::string& text) {
  std::string safe;
  for (const char character : text) switch (character) {
      case '\\':
        safe += "\\e";
        break;
      case '-':
        safe += "\\-";
        break;
      case '\'':
        safe += "\\(aq";
        break;
      case '`':
        safe += "\\(ga";
        break;
      case '^':
        safe += "\\(ha";
        break;
      case '~':
        safe += "\\(ti";
        break;
      default:
        safe += character;
    }
  return safe;
}

std::string bold(const std::string& text) { return "\\fB" + escaped(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + escaped(text) + "\\fR"; }

/// Filled text. A line that starts with a dot would be taken for a macro.
std::string filled(const std::string& text) {
  std::string page;
  std::istringstream is(text);
  for (std::string line; std::getline(is, line);)
    if (line.empty())
      page += ".PP\n";
    else
      page += (line.front() == '.' ? "\\&" : "") + escaped(line) + "\n";
  return page;
}

std::string pageName(const ListedCommand& program, const ListedCommand& command) {
  return program.name + "-" + command.name;
}

std::string titleLine(std::string name, const std::string& version) {
  for (char& letter : name)
    letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  // No date: the same sources give the same page on every day.
  return ".TH " + escaped(name) + " 1 \"\" \"" + escaped(version) + "\" \"User commands\"\n" +
         ".ad l\n.nh\n";
}

std::string nameSection(const std::string& name, std::string summary) {
  if (!summary.empty() && summary.back() == '.') summary.pop_back();
  return ".SH NAME\n" + escaped(name) + " \\- " + escaped(summary) + "\n";
}

std::string valueOf(const ListedOption& option) {
  if (option.words.empty()) return italic(option.value) + (option.many ? " ..." : "");
  std::string words;
  for (const std::string& word : option.words) words += (words.empty() ? "" : "|") + bold(word);
  return words;
}

std::string synopsisOf(const ListedOption& option) {
  if (option.isArgument() && !option.required) return "[" + valueOf(option) + "]";
  if (option.isArgument()) return valueOf(option);
  return bold(option.names.front()) + (option.isFlag() ? "" : " " + valueOf(option));
}

std::string synopsis(const std::string& call, const ListedCommand& command) {
  std::string page = ".SH SYNOPSIS\n" + bold(call) + " [" + italic("options") + "]";
  for (const ListedOption& option : command.options)
    if (option.isArgument()) page += " " + synopsisOf(option);
  for (const ListedOption& option : command.options)
    if (option.required && !option.isArgument()) page += " " + synopsisOf(option);
  return page;
}

std::string entryOf(const ListedOption& option) {
  std::string head;
  for (const std::string& name : option.names) head += (head.empty() ? "" : ", ") + bold(name);
  if (!option.isFlag()) head += (head.empty() ? "" : " ") + valueOf(option);
  std::string page = ".TP\n" + head + "\n" + filled(option.description);
  if (!option.defaultValue.empty()) page += filled("(default: " + option.defaultValue + ")");
  return page;
}

std::string optionsSection(const ListedCommand& command) {
  std::string page = ".SH OPTIONS\n";
  for (const bool argument : {true, false})
    for (const ListedOption& option : command.options)
      if (option.isArgument() == argument) page += entryOf(option);
  return page;
}

std::string exitSection() {
  std::string page = ".SH EXIT STATUS\n";
  for (const ExitMeaning& meaning : exitMeanings)
    page += ".TP\n" + bold(std::to_string(meaning.status)) + "\n" + filled(meaning.text);
  return page;
}

std::string seeAlso(const std::vector<std::string>& pages) {
  std::string page = ".SH SEE ALSO\n";
  for (const std::string& name : pages) page += bold(name) + "(1),\n";
  return page + filled("README.md and docs/ in the folder " MIREL_DOCDIR " of the installation\n");
}

}  // namespace

std::string manualOf(const ListedCommand& program, const std::string& version) {
  std::string commands = ".SH COMMANDS\n";
  std::vector<std::string> pages;
  for (const ListedCommand& command : program.commands) {
    pages.push_back(pageName(program, command));
    commands += ".TP\n" + bold(command.name) + "\n" + filled(command.summary());
  }
  return titleLine(program.name, version) + nameSection(program.name, program.summary()) +
         synopsis(program.name, program) + " " + italic("command") + " ...\n" +
         ".SH DESCRIPTION\n" + filled(program.description) + commands + optionsSection(program) +
         exitSection() + seeAlso(pages);
}

std::string manualOf(const ListedCommand& program, const ListedCommand& command,
                     const std::string& version) {
  std::vector<std::string> pages{program.name};
  for (const ListedCommand& other : program.commands)
    if (other.name != command.name) pages.push_back(pageName(program, other));
  const std::string name = pageName(program, command);
  return titleLine(name, version) + nameSection(name, command.summary()) +
         synopsis(program.name + " " + command.name, command) + "\n.SH DESCRIPTION\n" +
         filled(command.description) + optionsSection(command) + exitSection() + seeAlso(pages);
}

}  // namespace mirel

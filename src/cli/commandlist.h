#pragma once

#include <string>
#include <vector>

namespace mirel {

/// The commands and options of a program as the parser knows them, for whoever describes them:
/// manual pages, completion of shells.

struct ListedOption {
  /// "-o", "--output", in this order; of an argument empty.
  std::vector<std::string> names;
  /// What stands for the value in help; empty for a flag. Of an argument its name.
  std::string value;
  std::string description;
  /// All values that it takes, where those are words; else empty.
  std::vector<std::string> words;
  bool number = false;
  bool required = false;
  /// Takes as many values as follow.
  bool many = false;
  /// The value that holds when it is not given, where the parser knows it.
  std::string defaultValue;

  bool isArgument() const { return names.empty(); }
  bool isFlag() const { return !isArgument() && value.empty(); }
};

struct ListedCommand {
  std::string name;
  /// Paragraphs, with empty lines between them; the first is one sentence.
  std::string description;
  /// Arguments and options in the order of their definition. Of the program itself those that every
  /// command takes, too.
  std::vector<ListedOption> options;
  /// Without those that help does not show.
  std::vector<ListedCommand> commands;

  /// The first paragraph on one line.
  std::string summary() const;
};

}  // namespace mirel

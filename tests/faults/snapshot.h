#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "cli/program.h"

namespace mirel {

/// Every file below a folder with its content, hidden ones included.
using Snapshot = std::map<std::string, std::string>;

/// Without what differs between equal runs: the block of a report that tells date and duration.
inline std::string lastingTextOf(const std::string& file) {
  std::string text = textOf(file);
  const std::size_t from = text.find("<section id=\"this-run\"");
  if (from != std::string::npos) text.erase(from, text.find("</section>", from) - from);
  return text;
}

inline Snapshot snapshotOf(const std::string& folder) {
  Snapshot files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    const std::string name = std::filesystem::relative(entry.path(), folder).string();
    files[name] = entry.is_directory() ? "a folder" : lastingTextOf(entry.path().string());
  }
  return files;
}

inline std::string namesOf(const Snapshot& files) {
  std::string names;
  for (const auto& [name, content] : files) names += name + " ";
  return names;
}

}  // namespace mirel

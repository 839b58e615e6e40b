#include "dataset/ignore.h"

#include <fnmatch.h>

#include <sstream>

namespace mirel::dataset {

namespace {

using Parts = std::vector<std::string>;

Parts partsOf(const std::string& path) {
  Parts parts;
  std::istringstream is(path);
  for (std::string part; std::getline(is, part, '/');)
    if (!part.empty()) parts.push_back(part);
  return parts;
}

bool matches(const Parts& pattern, std::size_t p, const Parts& path, std::size_t n) {
  if (p == pattern.size()) return n == path.size();
  if (pattern[p] == "**") {
    for (std::size_t skip = n; skip <= path.size(); ++skip)
      if (matches(pattern, p + 1, path, skip)) return true;
    return false;
  }
  return n < path.size() && fnmatch(pattern[p].c_str(), path[n].c_str(), 0) == 0 &&
         matches(pattern, p + 1, path, n + 1);
}

}  // namespace

IgnoreRules::IgnoreRules(const std::string& text) {
  std::istringstream is(text);
  for (std::string line; std::getline(is, line);) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    if (line.empty() || line.front() == '#') continue;
    Rule rule;
    rule.takesBack = line.front() == '!';
    if (rule.takesBack) line.erase(0, 1);
    rule.foldersOnly = line.ends_with('/');
    if (rule.foldersOnly) line.pop_back();
    rule.parts = partsOf(line);
    if (rule.parts.empty()) continue;
    if (line.find('/') == std::string::npos) rule.parts.insert(rule.parts.begin(), "**");
    rules.push_back(rule);
  }
}

bool IgnoreRules::saysNo(const Parts& path, bool isFolder) const {
  bool ignored = false;
  for (const Rule& rule : rules)
    if ((isFolder || !rule.foldersOnly) && matches(rule.parts, 0, path, 0))
      ignored = !rule.takesBack;
  return ignored;
}

bool IgnoreRules::ignores(const std::string& path) const {
  if (rules.empty()) return false;
  Parts above;
  const Parts parts = partsOf(path);
  for (std::size_t n = 0; n < parts.size(); ++n) {
    above.push_back(parts[n]);
    if (saysNo(above, n + 1 < parts.size() || path.ends_with('/'))) return true;
  }
  return false;
}

}  // namespace mirel::dataset

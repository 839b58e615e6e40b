#include "cli/suggestion.h"

#include <algorithm>

namespace mirel {

namespace {

std::size_t changesBetween(const std::string& a, const std::string& b) {
  // rows[i][j]: between the first i letters of a and the first j of b.
  std::vector<std::vector<std::size_t>> rows(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) rows[i][0] = i;
  for (std::size_t j = 0; j <= b.size(); ++j) rows[0][j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i)
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = rows[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
    }
  return rows[a.size()][b.size()];
}

std::string withoutDashes(const std::string& word) {
  const std::size_t first = word.find_first_not_of('-');
  return first == std::string::npos ? "" : word.substr(first);
}

}  // namespace

std::string nearestWord(const std::string& word, const std::vector<std::string>& known) {
  const std::string typed = withoutDashes(word);
  if (typed.size() < 2) return {};
  std::string nearest;
  for (const std::string& candidate : known)
    if (withoutDashes(candidate).starts_with(typed) &&
        (nearest.empty() || candidate.size() < nearest.size()))
      nearest = candidate;
  if (!nearest.empty()) return nearest;
  std::size_t fewest = std::max<std::size_t>(1, typed.size() / 3) + 1;
  for (const std::string& candidate : known) {
    const std::size_t changes = changesBetween(typed, withoutDashes(candidate));
    if (changes >= fewest) continue;
    fewest = changes;
    nearest = candidate;
  }
  return nearest;
}

}  // namespace mirel

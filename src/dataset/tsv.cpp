#include "dataset/tsv.h"

#include <algorithm>

namespace mirel::dataset {

namespace {

std::string cleaned(std::string cell) {
  std::replace_if(
      cell.begin(), cell.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
  return cell.empty() ? "n/a" : cell;
}

}  // namespace

std::string tsvLine(const std::vector<std::string>& cells) {
  std::string line;
  for (std::size_t n = 0; n < cells.size(); ++n) line += (n == 0 ? "" : "\t") + cleaned(cells[n]);
  return line + "\n";
}

}  // namespace mirel::dataset

#include "base/words.h"

#include <sstream>

namespace mirel {

std::vector<std::vector<std::string>> wordsByLine(const std::string& text) {
  std::vector<std::vector<std::string>> lines;
  std::istringstream is(text);
  std::string line;
  while (std::getline(is, line)) {
    for (char& c : line)
      if (c == ',' || c == '\r') c = ' ';
    std::istringstream words(line);
    std::vector<std::string> found;
    for (std::string word; words >> word;) found.push_back(word);
    if (!found.empty()) lines.push_back(found);
  }
  return lines;
}

}  // namespace mirel

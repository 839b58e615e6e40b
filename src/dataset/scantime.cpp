#include "dataset/scantime.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <vector>

#include "base/error.h"
#include "base/inputfile.h"

namespace mirel::dataset {

namespace fs = std::filesystem;

namespace {

// The words of a line between tabs.
std::vector<std::string> cellsOf(std::string line) {
  if (line.ends_with('\r')) line.pop_back();
  std::vector<std::string> cells;
  std::istringstream is(line);
  for (std::string cell; std::getline(is, cell, '\t');) cells.push_back(cell);
  return cells;
}

std::optional<double> timeInTable(const std::string& table, const std::string& imageInFolder) {
  std::istringstream is(readWholeFile(table, largestTable));
  std::string line;
  std::getline(is, line);
  const std::vector<std::string> titles = cellsOf(line);
  const auto column = [&](const char* title) {
    return static_cast<std::size_t>(std::find(titles.begin(), titles.end(), title) -
                                    titles.begin());
  };
  const std::size_t name = column("filename"), time = column("acq_time");
  while (std::getline(is, line))
    if (const auto cells = cellsOf(line); name < cells.size() && time < cells.size())
      if (cells[name] == imageInFolder) return secondsOfDay(cells[time]);
  return std::nullopt;
}

}  // namespace

std::optional<double> timeOfScan(const Index& index, const IndexedImage& image) {
  for (fs::path folder = fs::path(image.path).parent_path(); !folder.empty();
       folder = folder.parent_path()) {
    const auto table = index.scans.find(folder.string());
    if (table == index.scans.end()) continue;
    try {
      const std::string within = fs::path(image.path).lexically_relative(folder).generic_string();
      if (const auto time = timeInTable(index.fileOf(table->second), within)) return time;
    } catch (const Error&) {
      continue;  // a table that cannot be read tells no time
    }
  }
  return std::nullopt;
}

std::optional<double> secondsOfDay(const std::string& text) {
  const std::size_t dateEnd = text.find('T');
  const std::string time = dateEnd == std::string::npos ? text : text.substr(dateEnd + 1);
  int hours = 0, minutes = 0;
  double seconds = 0;
  if (std::sscanf(time.c_str(), "%d:%d:%lf", &hours, &minutes, &seconds) != 3) return std::nullopt;
  const bool isTime =
      hours >= 0 && hours < 24 && minutes >= 0 && minutes < 60 && seconds >= 0 && seconds < 62;
  if (!isTime) return std::nullopt;
  return 3600.0 * hours + 60.0 * minutes + seconds;
}

}  // namespace mirel::dataset

#include "support/temporaryfolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace mirel {

namespace fs = std::filesystem;

std::string textOf(const std::string& fileName) {
  std::ifstream is(fileName, std::ios::binary);
  if (!is) throw std::runtime_error("cannot read " + fileName);
  return {std::istreambuf_iterator<char>(is), std::istreambuf_iterator<char>()};
}

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (fs::temp_directory_path() / "mirel-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& content) const {
  std::ofstream(file(name), std::ios::binary) << content;
  return file(name);
}

std::string TemporaryFolder::read(const std::string& name) const {
  return exists(name) ? textOf(file(name)) : "";
}

bool TemporaryFolder::exists(const std::string& name) const { return fs::exists(file(name)); }

std::vector<std::string> TemporaryFolder::names() const {
  std::vector<std::string> result;
  for (const auto& entry : fs::directory_iterator(path))
    result.push_back(entry.path().filename().string());
  std::sort(result.begin(), result.end());
  return result;
}

}  // namespace mirel

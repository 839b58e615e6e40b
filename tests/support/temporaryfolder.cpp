#include "support/temporaryfolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace mirel {

namespace fs = std::filesystem;

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
  std::ostringstream text;
  std::ifstream is(file(name), std::ios::binary);
  text << is.rdbuf();
  return text.str();
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

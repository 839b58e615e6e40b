#include "fuzz/input.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace mirel::fuzz {

namespace fs = std::filesystem;

std::vector<std::string> sectionsOf(std::string_view bytes, std::size_t count) {
  constexpr std::string_view border = "\n%%\n";
  std::vector<std::string> sections;
  while (sections.size() + 1 < count) {
    const std::size_t end = bytes.find(border);
    sections.emplace_back(bytes.substr(0, end));
    bytes = end == std::string_view::npos ? std::string_view{} : bytes.substr(end + border.size());
  }
  sections.emplace_back(bytes);
  return sections;
}

std::string_view Input::takeBytes(std::size_t count) {
  const std::string_view taken = bytes.substr(0, count);
  bytes.remove_prefix(taken.size());
  return taken;
}

MemoryFolder::MemoryFolder() {
  const fs::path memory = "/dev/shm";
  std::string pattern =
      ((access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path()) / "mirelXXXXXX")
          .string();
  require(mkdtemp(pattern.data()) != nullptr, "no folder for files");
  folder = pattern;
}

MemoryFolder::~MemoryFolder() {
  std::error_code ignored;
  fs::remove_all(folder, ignored);
}

std::string MemoryFolder::put(const std::string& name, std::string_view bytes) const {
  const std::string file = path(name);
  fs::create_directories(fs::path(file).parent_path());
  std::ofstream(file, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return file;
}

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "finding: %s\n", what);
  std::abort();
}

}  // namespace mirel::fuzz

// Runs a target over files and folders, without a fuzzer: for the corpus in tests, and to look at a
// finding with any compiler and debugger.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool replay(const std::filesystem::path& file) {
  std::ifstream is(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(is), {}};
  if (!is) {
    std::fprintf(stderr, "cannot read %s\n", file.c_str());
    return false;
  }
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path given = argv[i];
    if (!std::filesystem::is_directory(given)) {
      if (!replay(given)) return 1;
      ++count;
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(given)) {
      if (!replay(entry.path())) return 1;
      ++count;
    }
  }
  std::printf("%d inputs\n", count);
  return count > 0 ? 0 : 1;
}

#include "base/inputfile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "base/error.h"

namespace mirel {

std::string readBeginning(const std::string& fileName, std::uintmax_t most) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(fileName.c_str(), "rb"),
                                                             std::fclose);
  if (!file) throw Error(fileName, std::string("cannot be opened: ") + std::strerror(errno));
  std::string content;
  std::array<char, 1 << 16> block{};
  while (content.size() < most) {
    const std::size_t wanted =
        static_cast<std::size_t>(std::min<std::uintmax_t>(block.size(), most - content.size()));
    const std::size_t got = std::fread(block.data(), 1, wanted, file.get());
    if (got == 0) break;
    content.append(block.data(), got);
  }
  if (std::ferror(file.get()) != 0)
    throw Error(fileName, std::string("cannot be read: ") + std::strerror(errno));
  return content;
}

std::string readWholeFile(const std::string& fileName, std::uintmax_t most) {
  std::string content = readBeginning(fileName, most + 1);
  if (content.size() > most)
    throw Error(fileName,
                "is larger than " + std::to_string(most) + " bytes, which no file of its kind is");
  return content;
}

}  // namespace mirel

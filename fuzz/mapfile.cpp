// A displacement map's file, whose checksum is made right where the first byte is odd; one that is
// understood is written and read as the same.
#include "files/mapfile.h"

#include <zlib.h>

#include <cstring>

#include "fuzz/input.h"

using namespace mirel;

namespace {

std::string withChecksum(std::string bytes) {
  const auto sum = static_cast<std::uint32_t>(
      crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
  bytes.append(reinterpret_cast<const char*>(&sum), sizeof sum);
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::MemoryFolder folder;
  fuzz::Input input(data, size);
  const bool right = input.flag();
  const std::string bytes(input.rest());
  const std::string file = folder.put("a.map", right ? withChecksum(bytes) : bytes);
  fuzz::answers([&] {
    const Volume<float> map = volumeOf(readMapFile(file));
    writeMapFile(folder.path("b.map"), mapOf(map));
    const Volume<float> again = volumeOf(readMapFile(folder.path("b.map")));
    fuzz::require(map.dimensions() == again.dimensions(), "other dimensions");
    fuzz::require(std::memcmp(map.data(), again.data(), map.sizeInBytes()) == 0, "other values");
  });
  return 0;
}

#include "files/mapfile.h"

#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>

#include "base/error.h"
#include "base/outputfile.h"

namespace mirel {

// A map file, all numbers little-endian, without padding:
//
//   file       := magic version header slice{dimZ} checksum
//   magic      := "MIRELMAP"                          8 bytes
//   version    := u32                                 1
//   header     := dimX dimY dimZ kind param1 param2 reserved flag
//   dimX, dimY, dimZ := i32                           1 or more; product below 2^31
//   kind, flag := i32
//   param1, param2 := f32
//   reserved   := u32                                 kept, without a meaning
//   slice      := row{dimY}
//   row        := f32{dimX}                           x fastest
//   checksum   := u32                                 CRC-32 (that of zlib) of all bytes before it
//
// The file ends with the checksum: its size is 48 + 4 * dimX * dimY * dimZ bytes.

static_assert(std::endian::native == std::endian::little, "map files are little-endian");

namespace {

constexpr char magic[8] = {'M', 'I', 'R', 'E', 'L', 'M', 'A', 'P'};
constexpr std::uint32_t version = 1;

struct Prologue {
  char magic[8];
  std::uint32_t version;
  MapHeader header;
};
static_assert(sizeof(Prologue) == 44);

constexpr std::uint64_t frameSize = sizeof(Prologue) + sizeof(std::uint32_t);

/// The product of the dimensions, or 0 when one is not positive or the product is 2^31 or more.
std::uint64_t valueCount(const MapHeader& header) {
  std::uint64_t count = 1;
  for (const std::int32_t n : {header.dimX, header.dimY, header.dimZ}) {
    if (n < 1) return 0;
    count *= static_cast<std::uint64_t>(n);
    if (count > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) return 0;
  }
  return count;
}

std::string dimensionText(const MapHeader& header) {
  return std::to_string(header.dimX) + "x" + std::to_string(header.dimY) + "x" +
         std::to_string(header.dimZ);
}

std::uint32_t checksum(std::uint32_t start, const void* bytes, std::size_t count) {
  return static_cast<std::uint32_t>(crc32_z(start, static_cast<const Bytef*>(bytes), count));
}

[[noreturn]] void refuse(const std::string& fileName, const std::string& fault) {
  throw Error("cannot read the map " + fileName + ": " + fault);
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File openForReading(const std::string& fileName) {
  File file(std::fopen(fileName.c_str(), "rb"), std::fclose);
  if (!file) refuse(fileName, std::strerror(errno));
  return file;
}

std::uint64_t sizeOf(const File& file, const std::string& fileName) {
  struct stat status {};
  if (fstat(fileno(file.get()), &status) != 0) refuse(fileName, std::strerror(errno));
  if (!S_ISREG(status.st_mode)) refuse(fileName, "it is not a regular file");
  return static_cast<std::uint64_t>(status.st_size);
}

void readBytes(const File& file, const std::string& fileName, void* bytes, std::size_t count) {
  if (std::fread(bytes, 1, count, file.get()) != count)
    refuse(fileName, "it ends too early or cannot be read");
}

/// The checked first part of the file; afterwards the dimensions and the file's size agree.
Prologue readPrologue(const File& file, const std::string& fileName) {
  const std::uint64_t size = sizeOf(file, fileName);
  Prologue prologue{};
  const std::size_t present = static_cast<std::size_t>(std::min<std::uint64_t>(size, 8));
  readBytes(file, fileName, prologue.magic, present);
  if (present == 0) refuse(fileName, "it is empty");
  if (std::memcmp(prologue.magic, magic, present) != 0)
    refuse(fileName, "it is not a map file of this program");
  if (size < frameSize) refuse(fileName, "it is truncated within its header");
  readBytes(file, fileName, reinterpret_cast<char*>(&prologue) + 8, sizeof prologue - 8);
  if (prologue.version != version)
    refuse(fileName, "it has version " + std::to_string(prologue.version) +
                         ", but this program reads version " + std::to_string(version));
  const std::uint64_t count = valueCount(prologue.header);
  if (count == 0)
    refuse(fileName, "its dimensions " + dimensionText(prologue.header) + " are impossible");
  const std::uint64_t wanted = frameSize + count * sizeof(float);
  if (size != wanted)
    refuse(fileName, std::string("it is ") + (size < wanted ? "truncated" : "too long") + ": " +
                         std::to_string(size) + " bytes instead of the " + std::to_string(wanted) +
                         " of a map of " + dimensionText(prologue.header));
  return prologue;
}

}  // namespace

Map mapOf(const Volume<float>& volume) {
  Map map;
  map.header.dimX = volume.nx();
  map.header.dimY = volume.ny();
  map.header.dimZ = volume.nz();
  map.values.assign(volume.data(), volume.data() + volume.size());
  return map;
}

Volume<float> volumeOf(const Map& map) {
  Volume<float> volume(map.header.dimX, map.header.dimY, map.header.dimZ);
  volume.copyData(map.values.data());
  return volume;
}

void writeMapFile(const std::string& fileName, const Map& map) {
  const std::uint64_t count = valueCount(map.header);
  if (count == 0 || count != map.values.size())
    throw Error("cannot write the map " + fileName + ": " + std::to_string(map.values.size()) +
                " values do not make a map of " + dimensionText(map.header));
  Prologue prologue{};
  std::copy_n(magic, sizeof magic, prologue.magic);
  prologue.version = version;
  prologue.header = map.header;
  const std::size_t bytes = map.values.size() * sizeof(float);
  std::uint32_t sum = checksum(0, &prologue, sizeof prologue);
  sum = checksum(sum, map.values.data(), bytes);

  OutFile file(fileName);
  file.write(&prologue, sizeof prologue);
  file.write(map.values.data(), bytes);
  file.write(&sum, sizeof sum);
  file.commit();
}

Map readMapFile(const std::string& fileName) {
  const File file = openForReading(fileName);
  const Prologue prologue = readPrologue(file, fileName);
  Map map;
  map.header = prologue.header;
  map.values.resize(static_cast<std::size_t>(valueCount(map.header)));
  const std::size_t bytes = map.values.size() * sizeof(float);
  readBytes(file, fileName, map.values.data(), bytes);
  std::uint32_t stored = 0;
  readBytes(file, fileName, &stored, sizeof stored);
  const std::uint32_t sum =
      checksum(checksum(0, &prologue, sizeof prologue), map.values.data(), bytes);
  if (sum != stored)
    refuse(fileName, "it is damaged (its checksum does not agree with its content)");
  return map;
}

}  // namespace mirel

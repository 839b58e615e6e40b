#include "files/mapfile.h"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>

#include "base/error.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

using testing::HasSubstr;

Map smallMap() {
  Map map;
  map.header.dimX = 3;
  map.header.dimY = 2;
  map.header.dimZ = 2;
  map.header.kind = 1;
  map.header.param1 = 0.1f;
  map.header.param2 = 5.0f;
  map.header.reserved = 0xDEADBEEF;
  map.header.flag = -7;
  for (int i = 0; i < 12; ++i) map.values.push_back(0.25f * static_cast<float>(i) - 1.1f);
  return map;
}

std::string bytesOf(const std::string& fileName) { return textOf(fileName); }

void writeBytes(const std::string& fileName, const std::string& bytes) {
  std::ofstream(fileName, std::ios::binary) << bytes;
}

/// The sentence with which a file is refused; empty when it is read.
std::string refusal(const std::string& fileName) {
  try {
    readMapFile(fileName);
  } catch (const Error& failure) {
    return failure.what();
  }
  return "";
}

void replaceInt(std::string& bytes, std::size_t offset, std::int32_t value) {
  for (std::size_t i = 0; i < 4; ++i)
    bytes[offset + i] = static_cast<char>(static_cast<std::uint32_t>(value) >> (8 * i));
}

class MapFile : public testing::Test {
 protected:
  TemporaryFolder folder;
  std::string name = folder.file("a_vdm.map");
};

TEST_F(MapFile, ComesBackBitForBit) {
  Map map = smallMap();
  map.values[3] = std::numeric_limits<float>::quiet_NaN();
  map.values[4] = -std::numeric_limits<float>::infinity();
  map.values[5] = -0.0f;
  map.values[6] = std::numeric_limits<float>::denorm_min();
  writeMapFile(name, map);
  const Map back = readMapFile(name);
  EXPECT_EQ(back.header.dimX, 3);
  EXPECT_EQ(back.header.dimY, 2);
  EXPECT_EQ(back.header.dimZ, 2);
  EXPECT_EQ(back.header.kind, 1);
  EXPECT_EQ(back.header.param1, 0.1f);
  EXPECT_EQ(back.header.param2, 5.0f);
  EXPECT_EQ(back.header.reserved, 0xDEADBEEF);
  EXPECT_EQ(back.header.flag, -7);
  ASSERT_EQ(back.values.size(), map.values.size());
  for (std::size_t i = 0; i < map.values.size(); ++i)
    EXPECT_EQ(std::bit_cast<std::uint32_t>(back.values[i]),
              std::bit_cast<std::uint32_t>(map.values[i]))
        << i;
}

// The grammar read literally. The checksum was computed bit by bit from CRC-32's polynomial.
TEST(Map, IsMadeOfAVolumeAndBack) {
  Volume<float> volume(3, 4, 2);
  for (int i = 0; i < volume.size(); ++i) volume.data()[i] = static_cast<float>(i);
  const Map map = mapOf(volume);
  EXPECT_EQ(map.header.dimX, 3);
  EXPECT_EQ(map.header.dimY, 4);
  EXPECT_EQ(map.header.dimZ, 2);
  EXPECT_EQ(map.header.kind, 0);
  EXPECT_EQ(map.header.reserved, 0u);
  EXPECT_EQ(map.values[(1 * 4 + 2) * 3 + 1], volume.at(1, 2, 1));
  EXPECT_EQ(volumeOf(map), volume);
}

TEST_F(MapFile, HasTheDocumentedBytes) {
  Map map;
  map.header.dimX = map.header.dimY = 1;
  map.header.dimZ = 2;
  map.header.kind = 1;
  map.header.param1 = 1.0f;
  map.header.param2 = 5.0f;
  map.values = {0.5f, -2.0f};
  writeMapFile(name, map);
  const std::string expected(
      "MIRELMAP"
      "\1\0\0\0"
      "\1\0\0\0\1\0\0\0\2\0\0\0\1\0\0\0"
      "\0\0\x80\x3f\0\0\xa0\x40"
      "\0\0\0\0\0\0\0\0"
      "\0\0\0\x3f\0\0\0\xc0",
      52);
  const std::string actual = bytesOf(name);
  ASSERT_EQ(actual.size(), 56u);
  EXPECT_EQ(actual.substr(0, 52), expected);
  EXPECT_EQ(actual.substr(52), std::string("\x1a\xd1\xd2\xcc", 4));
}

TEST_F(MapFile, TruncatedAtEveryByteIsRefused) {
  writeMapFile(name, smallMap());
  const std::string bytes = bytesOf(name);
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    writeBytes(name, bytes.substr(0, size));
    EXPECT_THAT(refusal(name), HasSubstr(name)) << "cut to " << size << " bytes";
  }
}

TEST_F(MapFile, EverySingleFlippedBitIsRefused) {
  writeMapFile(name, smallMap());
  const std::string bytes = bytesOf(name);
  for (std::size_t i = 0; i < bytes.size(); ++i)
    for (int bit = 0; bit < 8; ++bit) {
      std::string damaged = bytes;
      damaged[i] = static_cast<char>(damaged[i] ^ (1 << bit));
      writeBytes(name, damaged);
      EXPECT_THAT(refusal(name), HasSubstr(name)) << "byte " << i << ", bit " << bit;
    }
}

TEST_F(MapFile, EveryByteInvertedIsRefused) {
  writeMapFile(name, smallMap());
  const std::string bytes = bytesOf(name);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::string damaged = bytes;
    damaged[i] = static_cast<char>(~damaged[i]);
    writeBytes(name, damaged);
    EXPECT_THAT(refusal(name), HasSubstr(name)) << "byte " << i;
  }
}

TEST_F(MapFile, AppendedBytesAreRefused) {
  writeMapFile(name, smallMap());
  writeBytes(name, bytesOf(name) + "x");
  EXPECT_THAT(refusal(name), HasSubstr("too long"));
}

TEST_F(MapFile, ForeignFilesAreRefusedAsSuch) {
  writeBytes(name, "a text that somebody saved under this name, long enough to be a map file");
  EXPECT_THAT(refusal(name), HasSubstr("not a map file of this program"));
  writeBytes(name, "MIR?");
  EXPECT_THAT(refusal(name), HasSubstr("not a map file of this program"));
  writeBytes(name, "");
  EXPECT_THAT(refusal(name), HasSubstr("empty"));
}

TEST_F(MapFile, LaterVersionIsRefusedByItsNumber) {
  writeMapFile(name, smallMap());
  std::string bytes = bytesOf(name);
  replaceInt(bytes, 8, 2);
  writeBytes(name, bytes);
  EXPECT_THAT(refusal(name), HasSubstr("version 2"));
}

// The sizes are read before the checksum can be: they must not lead to an allocation.
TEST_F(MapFile, HugeAndNegativeDimensionsAreRefusedBeforeAllocation) {
  writeMapFile(name, smallMap());
  const std::string bytes = bytesOf(name);
  struct {
    std::int32_t x, y, z;
    const char* fault;
  } const cases[] = {{2147483647, 2147483647, 2147483647, "impossible"},
                     {65536, 65536, 1, "impossible"},
                     {65536, 32768, 1, "impossible"},
                     {-3, 2, -2, "impossible"},
                     {0, 2, 2, "impossible"},
                     {46340, 46340, 1, "truncated"},
                     {2147483647, 1, 1, "truncated"}};
  for (const auto& c : cases) {
    std::string damaged = bytes;
    replaceInt(damaged, 12, c.x);
    replaceInt(damaged, 16, c.y);
    replaceInt(damaged, 20, c.z);
    writeBytes(name, damaged);
    EXPECT_THAT(refusal(name), HasSubstr(c.fault)) << c.x << " " << c.y << " " << c.z;
  }
}

TEST_F(MapFile, MissingFileAndFolderAreRefused) {
  EXPECT_THAT(refusal(folder.file("none.map")), HasSubstr("No such file"));
  EXPECT_THAT(refusal(folder.file("")), HasSubstr("cannot read the map"));
}

TEST_F(MapFile, ValuesThatDoNotMakeTheDimensionsAreNotWritten) {
  Map map = smallMap();
  map.values.pop_back();
  EXPECT_THROW(writeMapFile(name, map), Error);
  map = smallMap();
  map.header.dimZ = 0;
  map.values.clear();
  EXPECT_THROW(writeMapFile(name, map), Error);
  EXPECT_FALSE(fileExists(name));
}

TEST_F(MapFile, ReplacesAnEarlierMap) {
  writeBytes(name, "an earlier file");
  writeMapFile(name, smallMap());
  EXPECT_EQ(readMapFile(name).values, smallMap().values);
}

}  // namespace

}  // namespace mirel

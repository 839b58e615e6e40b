#include "nifti/plainbytes.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <memory>

#include "base/error.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using nifti::PlainBytes;
using Bytes = std::vector<unsigned char>;

namespace {

struct Outcome {
  Bytes bytes;
  bool faulty = false;
  bool operator==(const Outcome &) const = default;
};

/// What zlib's own reader makes of a file.
Outcome readByZlib(const std::string &name) {
  const std::unique_ptr<gzFile_s, int (*)(gzFile)> file(gzopen(name.c_str(), "rb"), gzclose_r);
  Outcome outcome;
  unsigned char block[1000];
  int got = 0;
  while ((got = gzread(file.get(), block, sizeof block)) > 0)
    outcome.bytes.insert(outcome.bytes.end(), block, block + got);
  int code = Z_OK;
  gzerror(file.get(), &code);
  outcome.faulty = got < 0 || code != Z_OK;
  return outcome;
}

Outcome readHere(const std::string &name, std::size_t blockBytes = 1000) {
  PlainBytes file(name);
  Outcome outcome;
  Bytes block(blockBytes);
  while (const std::size_t got = file.read(block.data(), block.size()))
    outcome.bytes.insert(outcome.bytes.end(), block.begin(),
                         block.begin() + static_cast<std::ptrdiff_t>(got));
  outcome.faulty = file.fault() != PlainBytes::Fault::none;
  return outcome;
}

Bytes operator+(Bytes a, const Bytes &b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

/// Runs of equal bytes between others that hardly compress.
Bytes content(std::size_t count, std::uint32_t state = 1) {
  Bytes bytes;
  while (bytes.size() < count) {
    state = state * 1664525U + 1013904223U;
    bytes.insert(bytes.end(), state >> 28U, static_cast<unsigned char>(state >> 20U));
  }
  bytes.resize(count);
  return bytes;
}

struct PlainBytesOf : testing::Test {
  TemporaryFolder folder;
  std::string name = folder.file("file");

  void write(const Bytes &bytes) const { writeBytes(name, bytes); }
};

}  // namespace

TEST_F(PlainBytesOf, PlainAndCompressedFilesAreTheSame) {
  for (const std::size_t count : {0U, 1U, 2U, 999U, 65536U, 1000000U}) {
    const Bytes wanted = content(count);
    write(wanted);
    EXPECT_EQ(readHere(name), (Outcome{wanted})) << count;
    EXPECT_FALSE(PlainBytes(name).isCompressed());
    write(gzipped(wanted));
    for (const std::size_t block : {7U, 1000U, 300000U, 2000000U})
      EXPECT_EQ(readHere(name, block), (Outcome{wanted})) << count;
    EXPECT_TRUE(PlainBytes(name).isCompressed());
  }
}

TEST_F(PlainBytesOf, MembersFollowOneAnotherAndWhatIsNoneIsLeftOut) {
  const Bytes a = content(5000, 1), b = content(300000, 2), none;
  const Bytes both = gzipped(a) + gzipped(b);
  for (const Bytes &behind : {Bytes{}, Bytes(1, 0), Bytes(700, 0), Bytes{0x1f}, Bytes{0x1f, 0x8c},
                              Bytes{'t', 'a', 'i', 'l'}, gzipped(none)}) {
    write(both + behind);
    EXPECT_EQ(readHere(name), (Outcome{a + b}));
    EXPECT_EQ(readHere(name), readByZlib(name));
  }
  write(gzipped(none) + gzipped(none) + gzipped(a));
  EXPECT_EQ(readHere(name), (Outcome{a}));
  write(both + Bytes{0x1f, 0x8b});
  EXPECT_TRUE(readHere(name).faulty);
  EXPECT_TRUE(readByZlib(name).faulty);
}

TEST_F(PlainBytesOf, TruncatedAnywhereItIsFoundFaultyAsByZlib) {
  const Bytes whole = gzipped(content(700)) + gzipped(content(300, 7));
  for (std::size_t n = 0; n < whole.size(); ++n) {
    write({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n)});
    const Outcome here = readHere(name), zlib = readByZlib(name);
    ASSERT_EQ(here.faulty, zlib.faulty) << n << " bytes";
    ASSERT_TRUE(zlib.faulty || here.bytes == zlib.bytes) << n << " bytes";
  }
}

TEST_F(PlainBytesOf, AChangedByteAnywhereIsFoundFaultyAsByZlib) {
  const Bytes whole = gzipped(content(600)) + gzipped(content(300, 7));
  for (std::size_t n = 0; n < whole.size(); ++n)
    for (const int change : {0x01, 0x04, 0x10, 0x80, 0xff}) {
      Bytes damaged = whole;
      damaged[n] = static_cast<unsigned char>(damaged[n] ^ change);
      write(damaged);
      const Outcome here = readHere(name), zlib = readByZlib(name);
      ASSERT_EQ(here.faulty, zlib.faulty) << "byte " << n << " changed by " << change;
      ASSERT_TRUE(zlib.faulty || here.bytes == zlib.bytes) << "byte " << n;
    }
}

TEST_F(PlainBytesOf, EveryPlaceCanBeGoneTo) {
  const Bytes wanted = content(400000);
  for (const bool compressed : {false, true}) {
    write(compressed ? gzipped(wanted) : wanted);
    PlainBytes file(name);
    for (const std::size_t at : {5UL, 399999UL, 0UL, 200000UL, 200001UL, 200000UL}) {
      unsigned char byte = 0;
      ASSERT_TRUE(file.seek(at));
      ASSERT_EQ(file.read(&byte, 1), 1U);
      EXPECT_EQ(byte, wanted[at]) << at;
    }
  }
}

TEST_F(PlainBytesOf, AMissingFileIsNamed) { EXPECT_THROW(PlainBytes(folder.file("none")), Error); }

}  // namespace mirel

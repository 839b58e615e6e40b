#include <gtest/gtest.h>
#include <zlib.h>

#include <array>
#include <cstdio>
#include <memory>

#include "nifti/image.h"
#include "support/niftifiles.h"
#include "support/random_volume.h"

/// What other programs make of compressed images.
namespace mirel {

using namespace niftifiles;
using Bytes = std::vector<unsigned char>;

namespace {

/// What one member decompresses to, and how many bytes of the file it takes.
struct Member {
  Bytes content;
  std::size_t packedBytes = 0;
  bool complete = false;  ///< with a checksum that agrees
};

Member firstMember(Bytes packed, std::size_t mostBytes) {
  Member member;
  member.content.resize(mostBytes);
  z_stream stream{};
  if (inflateInit2(&stream, 15 + 16) != Z_OK) return member;
  stream.next_in = packed.data();
  stream.avail_in = static_cast<unsigned>(packed.size());
  stream.next_out = member.content.data();
  stream.avail_out = static_cast<unsigned>(mostBytes);
  member.complete = inflate(&stream, Z_SYNC_FLUSH) == Z_STREAM_END;
  member.content.resize(stream.total_out);
  member.packedBytes = stream.total_in;
  inflateEnd(&stream);
  return member;
}

/// Air, an object, noise, and what does not compress at all.
std::vector<Volume<float>> volumesOf(glm::ivec3 dims) {
  Random random(11);
  return {Volume<float>(dims, 0.0f), blobs(dims, 3), random.volume(dims, 0, 60),
          random.volume(dims, -32768, 32767), Volume<float>(dims, 7.0f)};
}

void writeSeries(const std::string& name, glm::ivec3 dims) {
  const std::vector<Volume<float>> volumes = volumesOf(dims);
  nifti::Header header;
  header.dims = dims;
  header.volumes = static_cast<int>(volumes.size());
  header.type = nifti::DataType::int16;
  nifti::Writer image(name, header);
  for (const Volume<float>& volume : volumes) image.write(volume);
  image.finish();
}

// Below, at and above a block of samples.
constexpr std::array<glm::ivec3, 5> sizes = {
    {{1, 1, 1}, {16, 16, 12}, {64, 64, 16}, {65537, 1, 1}, {90, 104, 20}}};

}  // namespace

// Some readers stop after the first member of a gzip file.
TEST(Compression, IsOneMemberThatHoldsThePlainFile) {
  for (const glm::ivec3 dims : sizes) {
    TemporaryFolder folder;
    writeSeries(folder.file("a.nii"), dims);
    writeSeries(folder.file("a.nii.gz"), dims);
    const Bytes plain = readBytes(folder.file("a.nii")),
                packed = readBytes(folder.file("a.nii.gz"));
    const Member member = firstMember(packed, plain.size() + 1);
    EXPECT_TRUE(member.complete) << dims.x;
    EXPECT_EQ(member.packedBytes, packed.size()) << dims.x;
    EXPECT_TRUE(member.content == plain) << dims.x;
  }
}

TEST(Compression, GzipTestsIt) {
  TemporaryFolder folder;
  for (const glm::ivec3 dims : sizes) {
    const std::string name = folder.file("a.nii.gz");
    writeSeries(name, dims);
    EXPECT_EQ(std::system(("gzip -t '" + name + "'").c_str()), 0) << dims.x;
  }
}

// Validators read a header from the first bytes of a file and do not wait for more.
TEST(Compression, TheHeaderStandsInTheFirst500Bytes) {
  TemporaryFolder folder;
  writeSeries(folder.file("a.nii.gz"), {90, 104, 20});
  Bytes start = readBytes(folder.file("a.nii.gz"));
  start.resize(500);
  EXPECT_GE(firstMember(start, 100000).content.size(), 348U);
}

TEST(Compression, WhatDoesNotCompressGrowsByLittle) {
  TemporaryFolder folder;
  Random random(2);
  nifti::Header header;
  header.dims = {64, 64, 40};
  header.type = nifti::DataType::int16;
  nifti::Writer image(folder.file("a.nii.gz"), header);
  image.write(random.volume(header.dims, -32768, 32767));
  image.finish();
  const std::size_t plain = 352 + 2 * 64 * 64 * 40;
  EXPECT_LT(readBytes(folder.file("a.nii.gz")).size(), plain + plain / 500 + 200);
}

TEST(Compression, TheSameImageGivesTheSameBytes) {
  TemporaryFolder folder;
  writeSeries(folder.file("a.nii.gz"), {90, 104, 20});
  {
    // Whatever memory that is used again held before must not show.
    const std::vector<Bytes> used(200, Bytes(70000, 0xa5));
  }
  writeSeries(folder.file("b.nii.gz"), {90, 104, 20});
  EXPECT_TRUE(readBytes(folder.file("a.nii.gz")) == readBytes(folder.file("b.nii.gz")));
}

}  // namespace mirel

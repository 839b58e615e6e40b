#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "base/error.h"
#include "nifti/image.h"
#include "nifti/samples.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using nifti::DataType;
using testing::HasSubstr;

namespace {

nifti::Header smallHeader(DataType type) {
  nifti::Header h;
  h.dims = {3, 2, 2};
  h.volumes = 2;
  h.type = type;
  h.repetitionTimeSeconds = 2.5;
  h.description = "two volumes";
  h.setAffine(glm::dmat4(-2, 0, 0, 0, 0, 2.5, 0, 0, 0, 0, 3, 0, 90.5, -126.25, -72, 1), 1);
  return h;
}

Volume<float> ramp(glm::ivec3 dims, float first) {
  Volume<float> v(dims);
  for (int n = 0; n < v.size(); n++) v.data()[n] = first + static_cast<float>(n);
  return v;
}

void writeRamps(const std::string& name, const nifti::Header& header) {
  nifti::Writer image(name, header);
  for (int t = 0; t < header.volumes; t++)
    image.write(ramp(header.dims, static_cast<float>(10 + 20 * t)));
  image.finish();
}

}  // namespace

TEST(ImageWrite, ComesBackInEveryTypeVersionAndCompression) {
  for (const DataType type :
       {DataType::uint8, DataType::int8, DataType::int16, DataType::uint16, DataType::int32,
        DataType::uint32, DataType::int64, DataType::uint64, DataType::float32, DataType::float64})
    for (const int version : {1, 2})
      for (const char* name : {"a.nii", "a.nii.gz"}) {
        TemporaryFolder folder;
        nifti::Header header = smallHeader(type);
        header.version = version;
        header.sformCode = 2;
        writeRamps(folder.file(name), header);
        nifti::Reader image(folder.file(name));
        const nifti::Header& h = image.header();
        EXPECT_EQ(h.version, version);
        EXPECT_EQ(h.type, type);
        EXPECT_EQ(h.dims, header.dims);
        EXPECT_EQ(h.volumes, 2);
        EXPECT_EQ(h.voxelSizeMm, header.voxelSizeMm);
        EXPECT_EQ(h.repetitionTimeSeconds, 2.5);
        EXPECT_EQ(h.description, "two volumes");
        EXPECT_EQ(h.sform, header.sform);
        EXPECT_EQ(h.sformCode, 2);
        EXPECT_EQ(h.qformCode, 1);
        EXPECT_EQ(h.qform, header.qform);
        EXPECT_TRUE(image.readVolume(1) == ramp(header.dims, 30));
        EXPECT_TRUE(image.readVolume(0) == ramp(header.dims, 10));
        EXPECT_EQ(folder.names(), std::vector<std::string>{name});
      }
}

TEST(ImageWrite, SliceOrderComesBack) {
  for (const int version : {1, 2}) {
    TemporaryFolder folder;
    nifti::Header header = smallHeader(DataType::int16);
    header.version = version;
    header.slices = {1, 2, 3, 5, 0, 1, 0.75};
    writeRamps(folder.file("a.nii"), header);
    EXPECT_EQ(nifti::Reader(folder.file("a.nii")).header().slices, header.slices);
  }
}

TEST(ImageWrite, ScaledSamplesComeBack) {
  TemporaryFolder folder;
  nifti::Header header = smallHeader(DataType::int16);
  header.slope = 0.5;
  header.inter = -3;
  writeRamps(folder.file("a.nii"), header);
  nifti::Reader image(folder.file("a.nii"));
  EXPECT_EQ(image.header().slope, 0.5);
  EXPECT_EQ(image.header().inter, -3);
  EXPECT_TRUE(image.readVolume(0) == ramp(header.dims, 10));
}

TEST(ImageWrite, IntegersAreRoundedAndClamped) {
  nifti::Header header;
  header.type = DataType::int16;
  const float values[] = {0.5F, 1.5F, -2.6F, 1e9F, -1e9F, INFINITY, -INFINITY, NAN};
  std::int16_t result[8];
  nifti::encodeSamples(header, values, 8, reinterpret_cast<unsigned char*>(result));
  EXPECT_THAT(result, testing::ElementsAre(0, 2, -3, 32767, -32768, 32767, -32768, 0));
  header.type = DataType::uint64;
  std::uint64_t wide[8];
  nifti::encodeSamples(header, values, 8, reinterpret_cast<unsigned char*>(wide));
  EXPECT_EQ(wide[5], std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(wide[2], 0U);
}

TEST(ImageWrite, RepresentableValues) {
  const float values[] = {0, -32768, 32767};
  EXPECT_TRUE(nifti::allRepresentable(DataType::int16, values, 3));
  EXPECT_FALSE(nifti::allRepresentable(DataType::uint16, values, 3));
  for (const float other : {0.5F, 32768.0F, -32769.0F, NAN, INFINITY})
    EXPECT_FALSE(nifti::allRepresentable(DataType::int16, &other, 1)) << other;
}

TEST(ImageWrite, TheSameImageGivesTheSameBytes) {
  TemporaryFolder folder;
  writeRamps(folder.file("a.nii.gz"), smallHeader(DataType::int16));
  writeRamps(folder.file("b.nii.gz"), smallHeader(DataType::int16));
  const std::vector<unsigned char> bytes = readBytes(folder.file("a.nii.gz"));
  EXPECT_EQ(bytes, readBytes(folder.file("b.nii.gz")));
  // No name and no time in the gzip header.
  EXPECT_THAT(std::vector<int>(bytes.begin(), bytes.begin() + 8),
              testing::ElementsAre(0x1f, 0x8b, 8, 0, 0, 0, 0, 0));
}

TEST(ImageWrite, LongSidesMakeVersion2) {
  TemporaryFolder folder;
  nifti::Header header = smallHeader(DataType::uint8);
  header.dims = {40000, 1, 1};
  header.volumes = 1;
  nifti::Writer image(folder.file("a.nii"), header);
  image.write(Volume<float>(header.dims, 1.0F));
  image.finish();
  EXPECT_EQ(nifti::Reader(folder.file("a.nii")).header().version, 2);
  EXPECT_EQ(nifti::Reader(folder.file("a.nii")).header().dims.x, 40000);
}

TEST(ImageWrite, ShearedOrientationHasNoQuaternion) {
  nifti::Header header = smallHeader(DataType::int16);
  glm::dmat4 sheared = header.sform;
  sheared[2].x = 0.5;
  header.setAffine(sheared, 1);
  EXPECT_EQ(header.qformCode, 0);
  EXPECT_EQ(header.affine(), sheared);
}

TEST(ImageWrite, NothingAppearsWithoutFinish) {
  TemporaryFolder folder;
  writeText(folder.file("a.nii"), "older file");
  {
    nifti::Writer image(folder.file("a.nii"), smallHeader(DataType::int16));
    image.write(ramp({3, 2, 2}, 0));
    EXPECT_THROW(image.finish(), std::logic_error);
    EXPECT_THROW(image.write(ramp({3, 2, 1}, 0)), std::logic_error);
    image.write(ramp({3, 2, 2}, 0));
    EXPECT_THROW(image.write(ramp({3, 2, 2}, 0)), std::logic_error);
  }
  EXPECT_EQ(textOf(folder.file("a.nii")), "older file");
  EXPECT_EQ(folder.names(), std::vector<std::string>{"a.nii"});
}

TEST(ImageWrite, FaultsAreNamed) {
  TemporaryFolder folder;
  const nifti::Header header = smallHeader(DataType::int16);
  EXPECT_THAT(failure([&] { nifti::Writer image(folder.file("no/a.nii"), header); }),
              HasSubstr("does not exist"));
  EXPECT_THAT(failure([&] { nifti::Writer image(folder.file("a.img"), header); }),
              HasSubstr("neither .nii nor .nii.gz"));
  std::filesystem::create_directory(folder.file("dir.nii"));
  EXPECT_THAT(failure([&] { nifti::Writer image(folder.file("dir.nii"), header); }),
              HasSubstr("is a directory"));
  nifti::Header empty = header;
  empty.dims.y = 0;
  EXPECT_THAT(failure([&] { nifti::Writer image(folder.file("a.nii"), empty); }),
              HasSubstr("dimension 2 of size 0"));
  EXPECT_EQ(folder.names(), std::vector<std::string>{"dir.nii"});
}

TEST(ImageWrite, AFullDiskIsReportedAndLeavesNothing) {
  for (const char* name : {"a.nii", "a.nii.gz"}) {
    TemporaryFolder folder;
    nifti::Header header = smallHeader(DataType::float32);
    header.dims = {100, 100, 20};
    Volume<float> noise(header.dims);
    unsigned state = 1;
    for (int n = 0; n < noise.size(); n++)
      noise.data()[n] = static_cast<float>(state = state * 1664525U + 1013904223U);
    const FileSizeLimit limit(50000);
    EXPECT_THAT(failure([&] {
                  nifti::Writer image(folder.file(name), header);
                  image.write(noise);
                  image.write(noise);
                  image.finish();
                }),
                HasSubstr(std::string(name) + " cannot be written: File too large"));
    EXPECT_THAT(folder.names(), testing::IsEmpty());
  }
}

}  // namespace mirel

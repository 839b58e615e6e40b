#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/error.h"
#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using testing::AllOf;
using testing::HasSubstr;

namespace {

/// Reads every volume of a file with these bytes; the text of the failure.
std::string readFailure(const std::vector<unsigned char>& bytes, bool compressed) {
  TemporaryFolder folder;
  const std::string name = folder.file(compressed ? "bad.nii.gz" : "bad.nii");
  writeBytes(name, bytes);
  return failure([&] {
    nifti::Reader image(name);
    for (int t = 0; t < image.header().volumes; t++) image.readVolume(t);
  });
}

std::string headerFailure(const Raw& raw) {
  for (const bool swapped : {false, true}) {
    Raw other = raw;
    other.swapped = swapped;
    const std::string plain = readFailure(bytesOf(other), false);
    const std::string packed = readFailure(gzipped(bytesOf(other)), true);
    if (plain == "nothing" || packed == "nothing") return "nothing";
  }
  return readFailure(bytesOf(raw), false);
}

Raw goodImage() {
  Raw raw;
  raw.dim = {4, 2, 3, 4, 3};
  raw.data.resize(144);
  for (std::size_t n = 0; n < raw.data.size(); n++)
    raw.data[n] = static_cast<unsigned char>(n * 37 + n / 5);
  return raw;
}

}  // namespace

TEST(ImageFaults, PlainFileTruncatedAtEveryByte) {
  const std::vector<unsigned char> whole = bytesOf(goodImage());
  ASSERT_EQ(readFailure(whole, false), "nothing");
  for (std::size_t n = 0; n < whole.size(); n++) {
    const std::string text = readFailure({whole.begin(), whole.begin() + long(n)}, false);
    ASSERT_THAT(text, AllOf(HasSubstr("bad.nii"),
                            testing::AnyOf(HasSubstr("too short"), HasSubstr("truncated"))))
        << n << " bytes";
  }
}

TEST(ImageFaults, CompressedFileTruncatedAtEveryByte) {
  const std::vector<unsigned char> whole = gzipped(bytesOf(goodImage()));
  ASSERT_EQ(readFailure(whole, true), "nothing");
  for (std::size_t n = 0; n < whole.size(); n++) {
    const std::string text = readFailure({whole.begin(), whole.begin() + long(n)}, true);
    ASSERT_THAT(text, AllOf(HasSubstr("bad.nii.gz"),
                            testing::AnyOf(HasSubstr("too short"), HasSubstr("truncated"))))
        << n << " bytes";
  }
}

TEST(ImageFaults, Version2TruncatedAtEveryByte) {
  Raw raw = goodImage();
  raw.version = 2;
  const std::vector<unsigned char> whole = bytesOf(raw);
  ASSERT_EQ(readFailure(whole, false), "nothing");
  for (std::size_t n = 0; n < whole.size(); n++)
    ASSERT_NE(readFailure({whole.begin(), whole.begin() + long(n)}, false), "nothing") << n;
}

TEST(ImageFaults, CompressedFileWithAFlippedByteIsNeverReadAsAnother) {
  TemporaryFolder folder;
  const std::string name = folder.file("bad.nii.gz");
  const std::vector<unsigned char> whole = gzipped(bytesOf(goodImage()));
  writeBytes(name, whole);
  const Volume<float> right = nifti::Reader(name).readVolume(2);
  std::size_t refused = 0;
  // Bytes 3 to 9 of the gzip header (flags, time, system) do not belong to the data.
  for (std::size_t n = 10; n < whole.size(); n++) {
    std::vector<unsigned char> damaged = whole;
    damaged[n] ^= 0x10;
    writeBytes(name, damaged);
    try {
      // A flip can be without effect: zeros copied from another place are zeros.
      ASSERT_TRUE(nifti::Reader(name).readVolume(2) == right) << "byte " << n;
    } catch (const Error&) {
      refused++;
    }
  }
  EXPECT_GT(refused, whole.size() * 3 / 4);
}

TEST(ImageFaults, AnyHeaderByteMayBeAnythingWithoutACrash) {
  for (const int version : {1, 2}) {
    Raw raw = goodImage();
    raw.version = version;
    const std::vector<unsigned char> whole = bytesOf(raw);
    int refused = 0;
    for (std::size_t n = 0; n < (version == 2 ? 544U : 352U); n++)
      for (const int value : {0, 1, 127, 128, 255}) {
        std::vector<unsigned char> crafted = whole;
        crafted[n] = static_cast<unsigned char>(value);
        if (readFailure(crafted, false) != "nothing") refused++;
      }
    EXPECT_GT(refused, 40);
  }
}

TEST(ImageFaults, CraftedDimensions) {
  Raw raw = goodImage();
  raw.dim = {3, 0, 3, 4};
  EXPECT_THAT(headerFailure(raw), HasSubstr("a dimension 1 of size 0"));
  raw.dim = {3, 2, -3, 4};
  EXPECT_THAT(headerFailure(raw), HasSubstr("a dimension 2 of size -3"));
  raw.dim = {0, 2, 3, 4};
  EXPECT_THAT(headerFailure(raw), HasSubstr("0 dimensions"));
  raw.dim = {8, 2, 3, 4};
  EXPECT_THAT(headerFailure(raw), HasSubstr("8 dimensions"));
  raw.dim = {-1, 2, 3, 4};
  EXPECT_NE(headerFailure(raw), "nothing");
  raw.dim = {5, 2, 3, 4, 1, 3};
  EXPECT_THAT(headerFailure(raw), HasSubstr("only 3-D and 4-D"));
  raw.dim = {5, 2, 3, 4, 2, 3};
  EXPECT_THAT(headerFailure(raw), HasSubstr("only 3-D and 4-D"));
  raw.dim = {6, 2, 3, 4, 1, 1, 2};
  EXPECT_THAT(headerFailure(raw), HasSubstr("a dimension 6 of size 2"));
  raw.dim = {4, 2, 3, 4, 4};
  EXPECT_THAT(headerFailure(raw), HasSubstr("2 x 3 x 4 voxels in 4 volumes"));
  raw.dim = {3, 32767, 32767, 32767};
  EXPECT_THAT(headerFailure(raw), HasSubstr("more than 2^31 - 1 voxels"));
  raw.dim = {4, 1000, 1000, 1000, 32767};
  EXPECT_THAT(headerFailure(raw), HasSubstr("1000 x 1000 x 1000"));
}

TEST(ImageFaults, AFileMadeToFillTheMemoryIsRefusedByItsHeader) {
  Raw raw = goodImage();
  raw.dim = {3, 700, 700, 700};
  raw.datatype = 2;  // unsigned bytes
  raw.sampleBytes = 1;
  std::vector<unsigned char> bytes = bytesOf(raw);
  // Half a megabyte that does not compress: so much could hold the voxels, if only just.
  std::uint32_t state = 1;
  for (int n = 0; n < 500000; ++n) {
    state = state * 1664525U + 1013904223U;
    bytes.push_back(static_cast<unsigned char>(state >> 24U));
  }
  EXPECT_THAT(readFailure(gzipped(bytes), true),
              AllOf(HasSubstr("700 x 700 x 700 voxels a volume"), HasSubstr("200-fold")));
}

TEST(ImageFaults, AnImageOfVectorsIsReadWhenAskedFor) {
  Raw raw = goodImage();
  raw.dim = {5, 2, 3, 4, 1, 3};
  TemporaryFolder folder;
  writeBytes(folder.file("v.nii"), bytesOf(raw));
  nifti::Reader image(folder.file("v.nii"), nifti::Contents::vectorsToo);
  EXPECT_EQ(image.header().volumes, 1);
  EXPECT_EQ(image.header().vectorComponents, 3);
  ASSERT_EQ(image.storedVolumes(), 3);
  raw.dim = {4, 2, 3, 4, 3};
  writeBytes(folder.file("s.nii"), bytesOf(raw));
  nifti::Reader scalars(folder.file("s.nii"));
  EXPECT_EQ(scalars.storedVolumes(), 3);
  for (int t = 0; t < 3; t++) EXPECT_TRUE(image.readVolume(t) == scalars.readVolume(t));
  EXPECT_THROW(image.readVolume(3), std::out_of_range);
  raw.dim = {5, 2, 3, 4, 1, 4};
  writeBytes(folder.file("v.nii"), bytesOf(raw));
  EXPECT_THAT(failure([&] { nifti::Reader(folder.file("v.nii"), nifti::Contents::vectorsToo); }),
              HasSubstr("voxels in 4 volumes, more than a file of"));
}

TEST(ImageFaults, CraftedDimensionsOfVersion2DoNotOverflow) {
  Raw raw = goodImage();
  raw.version = 2;
  const std::int64_t large = std::int64_t{1} << 32;
  raw.dim = {3, large, large, 1};  // the product is 0 modulo 2^64
  EXPECT_THAT(headerFailure(raw), HasSubstr("impossible dimensions"));
  raw.dim = {4, 2, 3, 4, std::int64_t{1} << 62};
  EXPECT_THAT(headerFailure(raw), HasSubstr("number of volumes"));
  raw.dim = {3, std::int64_t{-1} << 63, 3, 4};
  EXPECT_THAT(headerFailure(raw), HasSubstr("is damaged"));
  raw.dim = {4, 2147483647, 1, 1, 2147483647};
  raw.datatype = 64;
  EXPECT_THAT(headerFailure(raw), HasSubstr("2^62 bytes"));
  raw.datatype = 4;
  raw.dim = {4, 2147483647, 1, 1, 1073741823};
  EXPECT_THAT(headerFailure(raw), HasSubstr("more than a file of"));
}

TEST(ImageFaults, CraftedDataOffset) {
  Raw raw = goodImage();
  for (const double offset : {100.0, 1e30, 400.0, 1e9}) {
    raw.offset = offset;
    EXPECT_NE(headerFailure(raw), "nothing") << offset;
  }
  raw.version = 2;
  raw.offset = 9.2e18;
  EXPECT_THAT(headerFailure(raw), HasSubstr("cannot start at byte"));
}

TEST(ImageFaults, UnsupportedTypes) {
  Raw raw = goodImage();
  for (const int type : {0, 1, 32, 128, 255, 1536, 1792, 2048, 2304, 4096, -1}) {
    raw.datatype = type;
    EXPECT_THAT(headerFailure(raw), HasSubstr("data type " + std::to_string(type))) << type;
  }
  raw.datatype = 32;
  EXPECT_THAT(headerFailure(raw), HasSubstr("COMPLEX64"));
}

TEST(ImageFaults, OtherFiles) {
  TemporaryFolder folder;
  EXPECT_THAT(failure([&] { nifti::Reader image(folder.file("none.nii")); }),
              HasSubstr("none.nii does not exist"));
  EXPECT_THAT(failure([&] { nifti::Reader image(folder.file("")); }), HasSubstr("is a directory"));
  EXPECT_THAT(failure([&] { nifti::Reader image("/dev/null"); }), HasSubstr("not a regular file"));
  EXPECT_THAT(readFailure({}, false), HasSubstr("too short"));
  EXPECT_THAT(readFailure(std::vector<unsigned char>(1000, 'x'), false),
              HasSubstr("is not a NIfTI image"));
  Raw raw = goodImage();
  raw.magic = "ni1";
  EXPECT_THAT(headerFailure(raw), HasSubstr("two-file NIfTI"));
  raw.magic = std::string(3, '\0');  // the older format without orientation
  EXPECT_THAT(headerFailure(raw), HasSubstr("is not a NIfTI image"));
  raw.version = 2;
  raw.magic = std::string("n+2\0\n\n\032\n", 8);  // line ends changed on the way
  EXPECT_THAT(headerFailure(raw), HasSubstr("transfer as text"));
  raw.magic = std::string("n+2\0\0\0\0\0", 8);  // as some writers leave it
  EXPECT_EQ(headerFailure(raw), "nothing");
}

TEST(ImageFaults, TheLibraryIsSilent) {
  testing::internal::CaptureStderr();
  Raw raw = goodImage();
  raw.dim = {3, 0, 3, 4};
  headerFailure(raw);
  raw = goodImage();
  raw.qformCode = 1;
  raw.quatern[0] = 5;  // no unit quaternion
  raw.sform[0][0] = 0;
  readFailure(bytesOf(raw), false);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace mirel

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using nifti::DataType;

namespace {

/// 24 values per volume that each type holds, its limits among them.
template <typename T>
std::vector<T> valuesOf(int count) {
  std::vector<T> values(static_cast<std::size_t>(count));
  std::iota(values.begin(), values.end(), T(3));
  values[0] = std::numeric_limits<T>::lowest();
  values[1] = std::numeric_limits<T>::max();
  return values;
}

struct Layout {
  int version;
  bool swapped;
  bool compressed;
};

const Layout layouts[] = {{1, false, false}, {1, false, true}, {1, true, false}, {1, true, true},
                          {2, false, false}, {2, false, true}, {2, true, false}, {2, true, true}};

std::string write(const TemporaryFolder& folder, const Raw& raw, bool compressed) {
  const std::string name = folder.file(compressed ? "image.nii.gz" : "image.nii");
  writeBytes(name, compressed ? gzipped(bytesOf(raw)) : bytesOf(raw));
  return name;
}

template <typename T>
void checkType(DataType type) {
  const std::vector<T> values = valuesOf<T>(48);
  for (const Layout& layout : layouts) {
    TemporaryFolder folder;
    Raw raw;
    raw.version = layout.version;
    raw.swapped = layout.swapped;
    raw.dim = {4, 2, 3, 4, 2};
    raw.datatype = static_cast<int>(type);
    raw.sampleBytes = sizeof(T);
    raw.data = samples(values);
    nifti::Reader image(write(folder, raw, layout.compressed));
    EXPECT_EQ(image.header().type, type);
    EXPECT_EQ(image.header().version, layout.version);
    EXPECT_EQ(image.isSwapped(), layout.swapped);
    ASSERT_EQ(image.header().dims, glm::ivec3(2, 3, 4));
    ASSERT_EQ(image.header().volumes, 2);
    for (int t = 0; t < 2; t++) {
      const Volume<float> volume = image.readVolume(t);
      for (int n = 0; n < 24; n++) {
        const double expected = static_cast<double>(values[static_cast<std::size_t>(t * 24 + n)]);
        const float limit = std::numeric_limits<float>::max();
        const float wanted =
            std::fabs(expected) > double(limit)
                ? std::copysign(INFINITY, static_cast<float>(expected < 0 ? -1 : 1))
                : static_cast<float>(expected);
        ASSERT_EQ(volume.data()[n], wanted) << nifti::nameOf(type) << " volume " << t << " " << n;
      }
    }
  }
}

}  // namespace

TEST(ImageRead, EveryTypeVersionByteOrderAndCompression) {
  checkType<std::uint8_t>(DataType::uint8);
  checkType<std::int8_t>(DataType::int8);
  checkType<std::int16_t>(DataType::int16);
  checkType<std::uint16_t>(DataType::uint16);
  checkType<std::int32_t>(DataType::int32);
  checkType<std::uint32_t>(DataType::uint32);
  checkType<std::int64_t>(DataType::int64);
  checkType<std::uint64_t>(DataType::uint64);
  checkType<float>(DataType::float32);
  checkType<double>(DataType::float64);
}

TEST(ImageRead, VoxelsAreXFastest) {
  TemporaryFolder folder;
  Raw raw;
  raw.data = samples(valuesOf<std::int16_t>(24));
  const Volume<float> volume = nifti::Reader(write(folder, raw, false)).readVolume(0);
  EXPECT_EQ(volume.at(1, 2, 3), 26.0F);
  EXPECT_EQ(volume.at(0, 1, 0), 5.0F);
  EXPECT_EQ(volume.at(0, 0, 1), 9.0F);
}

TEST(ImageRead, HeaderFieldsInBothVersions) {
  for (const Layout& layout : layouts) {
    TemporaryFolder folder;
    Raw raw;
    raw.version = layout.version;
    raw.swapped = layout.swapped;
    raw.qformCode = 1;
    raw.quatern[1] = 1;
    raw.quatern[3] = 11;
    raw.sformCode = 2;
    raw.data = samples(valuesOf<std::int16_t>(24));
    const nifti::Reader image(write(folder, raw, layout.compressed));
    const nifti::Header& h = image.header();
    EXPECT_EQ(h.voxelSizeMm, glm::dvec3(2, 2.5, 3));
    EXPECT_EQ(h.repetitionTimeSeconds, 1.5);
    EXPECT_EQ(h.description, "made for a test");
    EXPECT_EQ(h.qformCode, 1);
    EXPECT_EQ(h.sformCode, 2);
    EXPECT_EQ(h.qform.c, 1);
    EXPECT_EQ(h.qform.x, 11);
    EXPECT_FALSE(h.hasScaling());
    EXPECT_EQ(h.affine(), glm::dmat4(-2, 0, 0, 0, 0, 2.5, 0, 0, 0, 0, 3, 0, 90, -126, -72, 1));
  }
}

TEST(ImageRead, AffineIsSformThenQformThenVoxelSizes) {
  TemporaryFolder folder;
  Raw raw;
  raw.data = samples(valuesOf<std::int16_t>(24));
  raw.qformCode = 1;
  raw.pixdim[0] = -1;  // qfac: the third axis is reversed
  raw.quatern[3] = 10;
  raw.quatern[4] = 20;
  raw.quatern[5] = 30;
  EXPECT_EQ(nifti::Reader(write(folder, raw, false)).header().affine()[0].x, -2);
  raw.sformCode = 0;
  EXPECT_EQ(nifti::Reader(write(folder, raw, false)).header().affine(),
            glm::dmat4(2, 0, 0, 0, 0, 2.5, 0, 0, 0, 0, -3, 0, 10, 20, 30, 1));
  raw.qformCode = 0;
  EXPECT_EQ(nifti::Reader(write(folder, raw, false)).header().affine(),
            glm::dmat4(2, 0, 0, 0, 0, 2.5, 0, 0, 0, 0, 3, 0, 0, 0, 0, 1));
}

TEST(ImageRead, UnitsBecomeMillimetresAndSeconds) {
  TemporaryFolder folder;
  Raw raw;
  raw.data = samples(valuesOf<std::int16_t>(24));
  raw.units = 3 | 16;  // micrometres and milliseconds
  const nifti::Header h = nifti::Reader(write(folder, raw, false)).header();
  EXPECT_DOUBLE_EQ(h.voxelSizeMm.y, 0.0025);
  EXPECT_DOUBLE_EQ(h.affine()[3].x, 0.09);
  EXPECT_DOUBLE_EQ(h.repetitionTimeSeconds, 0.0015);
  raw.units = 1 | 24;  // metres and microseconds
  const nifti::Header m = nifti::Reader(write(folder, raw, false)).header();
  EXPECT_DOUBLE_EQ(m.affine()[1].y, 2500);
  EXPECT_DOUBLE_EQ(m.repetitionTimeSeconds, 1.5e-6);
}

TEST(ImageRead, SlopeAndInterceptAreApplied) {
  TemporaryFolder folder;
  Raw raw;
  raw.slope = 0.25;
  raw.inter = -10;
  raw.data = samples(std::vector<std::int16_t>(24, 100));
  EXPECT_EQ(nifti::Reader(write(folder, raw, true)).readVolume(0).at(0, 0, 0), 15.0F);
  raw.slope = 0;  // no scaling, whatever the intercept
  EXPECT_EQ(nifti::Reader(write(folder, raw, true)).readVolume(0).at(0, 0, 0), 100.0F);
  raw.slope = NAN;
  EXPECT_EQ(nifti::Reader(write(folder, raw, true)).readVolume(0).at(0, 0, 0), 100.0F);
  raw.slope = 1;
  EXPECT_EQ(nifti::Reader(write(folder, raw, true)).readVolume(0).at(0, 0, 0), 90.0F);
}

TEST(ImageRead, TrailingDimensionsOfOneAreIgnoredAndMissingOnesAreOne) {
  TemporaryFolder folder;
  Raw raw;
  raw.data = samples(valuesOf<std::int16_t>(24));
  raw.dim = {5, 2, 3, 2, 2, 1};
  EXPECT_EQ(nifti::Reader(write(folder, raw, false)).header().volumes, 2);
  raw.dim = {7, 2, 3, 4, 1, 1, 1, 1};
  EXPECT_EQ(nifti::Reader(write(folder, raw, false)).header().dims, glm::ivec3(2, 3, 4));
  raw.dim = {2, 6, 4, 99, 99, 99, 99, 99};  // sizes beyond dim[0] say nothing
  const nifti::Header plane = nifti::Reader(write(folder, raw, false)).header();
  EXPECT_EQ(plane.dims, glm::ivec3(6, 4, 1));
  EXPECT_EQ(plane.volumes, 1);
}

TEST(ImageRead, VolumesComeInAnyOrder) {
  for (const bool compressed : {false, true}) {
    TemporaryFolder folder;
    Raw raw;
    raw.dim = {4, 2, 3, 4, 3};
    raw.data = samples(valuesOf<std::int16_t>(72));
    nifti::Reader image(write(folder, raw, compressed));
    Volume<float> volume;
    for (const int t : {2, 0, 1, 1, 2, 0}) {
      image.readVolume(t, volume);
      EXPECT_EQ(volume.at(1, 2, 3), static_cast<float>(26 + 24 * t));
    }
    EXPECT_THROW(image.readVolume(3), std::out_of_range);
    EXPECT_THROW(image.readVolume(-1), std::out_of_range);
  }
}

TEST(ImageRead, DataMayStartBehindExtensions) {
  TemporaryFolder folder;
  Raw raw;
  raw.offset = 384;
  raw.data.assign(32, 7);
  const auto values = samples(valuesOf<std::int16_t>(24));
  raw.data.insert(raw.data.end(), values.begin(), values.end());
  EXPECT_EQ(nifti::Reader(write(folder, raw, false)).readVolume(0).at(1, 2, 3), 26.0F);
  raw.offset = 0;
  raw.data = values;
  EXPECT_EQ(nifti::Reader(write(folder, raw, true)).readVolume(0).at(1, 2, 3), 26.0F);
}

TEST(ImageRead, CompressionIsRecognisedByContent) {
  TemporaryFolder folder;
  Raw raw;
  raw.data = samples(valuesOf<std::int16_t>(24));
  writeBytes(folder.file("plain.nii.gz"), bytesOf(raw));
  writeBytes(folder.file("packed.nii"), gzipped(bytesOf(raw)));
  EXPECT_EQ(nifti::Reader(folder.file("plain.nii.gz")).readVolume(0).at(1, 2, 3), 26.0F);
  EXPECT_EQ(nifti::Reader(folder.file("packed.nii")).readVolume(0).at(1, 2, 3), 26.0F);
}

TEST(ImageRead, BadVoxelSizesReadAsOne) {
  TemporaryFolder folder;
  Raw raw;
  raw.sformCode = 0;
  raw.pixdim[1] = 0;
  raw.pixdim[2] = NAN;
  raw.pixdim[3] = -4;
  raw.data = samples(valuesOf<std::int16_t>(24));
  EXPECT_EQ(nifti::Reader(write(folder, raw, false)).header().voxelSizeMm, glm::dvec3(1, 1, 4));
}

}  // namespace mirel

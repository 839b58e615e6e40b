#include <gmock/gmock.h>

#include <cstring>

#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;

namespace {

using testing::HasSubstr;

// 2 x 3 x 4 voxels, two volumes, of 1 + 2i, 3 + 4i, ... with slope 2 and intercept 1.
template <class Sample>
Raw complexImage(int datatype) {
  Raw raw;
  raw.dim = {4, 2, 3, 4, 2};
  raw.datatype = datatype;
  raw.slope = 2;
  raw.inter = 1;
  raw.sampleBytes = sizeof(Sample);
  std::vector<Sample> samples(2 * 24 * 2);
  for (std::size_t n = 0; n < samples.size(); ++n) samples[n] = static_cast<Sample>(n + 1);
  raw.data.resize(samples.size() * sizeof(Sample));
  std::memcpy(raw.data.data(), samples.data(), raw.data.size());
  return raw;
}

void expectRead(const Raw& raw, const std::string& file) {
  const std::vector<unsigned char> bytes = bytesOf(raw);
  writeBytes(file, file.ends_with(".gz") ? gzipped(bytes) : bytes);
  nifti::Reader image(file, nifti::Contents::complexNumbers);
  for (int t = 0; t < 2; ++t) {
    Volume<float> real, imaginary;
    image.readComplex(t, real, imaginary);
    for (int n = 0; n < 24; ++n) {
      EXPECT_EQ(real.data()[n], 2.0F * static_cast<float>(48 * t + 2 * n + 1) + 1.0F);
      EXPECT_EQ(imaginary.data()[n], 2.0F * static_cast<float>(48 * t + 2 * n + 2) + 1.0F);
    }
  }
  Volume<float> volume;
  EXPECT_THROW(image.readVolume(0, volume), std::logic_error);
}

}  // namespace

TEST(ComplexNumbers, AreReadInEitherPrecisionAndByteOrder) {
  TemporaryFolder folder;
  for (Raw raw : {complexImage<float>(32), complexImage<double>(1792)})
    for (const int version : {1, 2})
      for (const bool swapped : {false, true}) {
        raw.version = version;
        raw.swapped = swapped;
        expectRead(raw, folder.file("c.nii"));
        expectRead(raw, folder.file("c.nii.gz"));
      }
}

TEST(ComplexNumbers, AreRefusedWhereNobodyAsksForThem) {
  TemporaryFolder folder;
  writeBytes(folder.file("c.nii"), bytesOf(complexImage<float>(32)));
  EXPECT_THAT(failure([&] { nifti::Reader image(folder.file("c.nii")); }),
              HasSubstr("c.nii has the data type 32 (COMPLEX64), which is supported only"));
  Raw real = complexImage<float>(16);
  writeBytes(folder.file("r.nii"), bytesOf(real));
  EXPECT_THAT(
      failure([&] { nifti::Reader image(folder.file("r.nii"), nifti::Contents::complexNumbers); }),
      HasSubstr("r.nii has the data type float32, no complex numbers"));
}

TEST(ComplexNumbers, MissingAtTheEndAreNoticed) {
  TemporaryFolder folder;
  Raw raw = complexImage<float>(32);
  raw.data.resize(raw.data.size() / 2);
  writeBytes(folder.file("c.nii"), bytesOf(raw));
  EXPECT_THAT(
      failure([&] { nifti::Reader image(folder.file("c.nii"), nifti::Contents::complexNumbers); }),
      HasSubstr("is truncated or damaged"));
}

}  // namespace mirel

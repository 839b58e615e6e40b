#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "support/niftifiles.h"

namespace mirel {

// What interpolation makes fall below 0, in all images that the program corrects.

namespace {

using niftifiles::readBytes;
using testing::HasSubstr;

class ImagesBelowZero : public CorrectPair {
 protected:
  /// The image `volumes` times, with -2 in a corner of the volume `spoiled`, and its sidecar.
  std::string write(const std::string& name, const std::string& image, nifti::DataType type,
                    int volumes, int spoiled) const {
    nifti::Reader reader(image);
    nifti::Header header = reader.header();
    header.type = type;
    header.volumes = volumes;
    nifti::Writer writer(file(name + ".nii.gz"), header);
    for (int t = 0; t < volumes; ++t) {
      Volume<float> volume = reader.readVolume(0);
      if (t == spoiled) volume.data()[0] = -2;
      writer.write(volume);
    }
    writer.finish();
    std::filesystem::copy_file(image.substr(0, image.size() - 7) + ".json", file(name + ".json"),
                               std::filesystem::copy_options::overwrite_existing);
    return file(name + ".nii.gz");
  }
  std::string diffusion(const std::string& name, const std::string& image, int spoiled) const {
    std::ofstream(file(name + ".bval")) << "0 1000 1000\n";
    std::ofstream(file(name + ".bvec")) << "0 1 0\n0 0 1\n0 0 0\n";
    return write(name, image, nifti::DataType::int16, 3, spoiled);
  }
  float leastIn(const std::string& name, int t = 0) const {
    return nifti::Reader(file(name + ".nii.gz")).readVolume(t).min();
  }
};

constexpr const char* magnitude = "sub-phantom_desc-preproc_magnitude";
constexpr const char *correctedOfAp = "sub-phantom_dir-AP_desc-preproc_epi",
                     *correctedOfPa = "sub-phantom_dir-PA_desc-preproc_epi";

}  // namespace

TEST_F(ImagesBelowZero, HaveTheSameBytesFromCorrectAndApply) {
  for (const nifti::DataType type : {nifti::DataType::float32, nifti::DataType::int16}) {
    const std::string run = write("sub-1_dir-AP_bold", ap(), type, 3, 1);
    ASSERT_EQ(correct({"--apply", run, "--overwrite", "--quiet"}).status, 0);
    for (const int t : {0, 2})
      EXPECT_EQ(leastIn("out/sub-1_dir-AP_desc-preproc_bold", t), 0.0F) << t;
    EXPECT_LT(leastIn("out/sub-1_dir-AP_desc-preproc_bold", 1), -1.0F);
    const ProgramResult applied =
        runMirel({"apply", "--field", out("sub-phantom_desc-preproc_fieldmap.nii.gz"), run,
                  "--modulate", "--reference", out(std::string(magnitude) + ".nii.gz"), "--align",
                  "--overwrite", "--quiet", "-o", file("applied.nii.gz")});
    ASSERT_EQ(applied.status, 0) << applied.err;
    EXPECT_EQ(readBytes(file("applied.nii.gz")),
              readBytes(out("sub-1_dir-AP_desc-preproc_bold.nii.gz")));
  }
}

TEST_F(ImagesBelowZero, OfAPairAreJudgedOneByOne) {
  ASSERT_EQ(correct({"--quiet"}).status, 0);
  for (const char* name : {correctedOfAp, correctedOfPa})
    EXPECT_EQ(leastIn("out/" + std::string(name)), 0.0F) << name;
  // Series are aligned with the mean, which stays.
  EXPECT_LT(leastIn("out/" + std::string(magnitude)), 0.0F);
  const std::string other = write("sub-phantom_dir-AP_epi", ap(), nifti::DataType::float32, 1, 0);
  ASSERT_EQ(runMirel({"correct", other, pa(), "--quiet", "-o", file("signed")}).status, 0);
  EXPECT_LT(leastIn("signed/" + std::string(correctedOfAp)), -1.0F);
  EXPECT_EQ(leastIn("signed/" + std::string(correctedOfPa)), 0.0F);
  // As a pair's image and as a series: one map, one background.
  for (const auto& [image, name] : {std::pair{ap(), "out/"}, std::pair{other, "signed/"}}) {
    const std::string stem = file(name);
    ASSERT_EQ(
        runMirel({"apply", "--vdm", stem + "sub-phantom_dir-AP_desc-voxels_vdm.nii.gz", image,
                  "--modulate", "--float", "--overwrite", "--quiet", "-o", file("applied.nii.gz")})
            .status,
        0);
    EXPECT_TRUE(imageIn(file("applied.nii.gz")) == imageIn(stem + correctedOfAp + ".nii.gz"));
  }
}

TEST_F(ImagesBelowZero, AreJudgedTogetherWhereTheyAreJoined) {
  const std::string first = diffusion("sub-1_dir-AP_dwi", ap(), 1),
                    second = diffusion("sub-1_dir-PA_dwi", pa(), 2);
  const ProgramResult result =
      correct({"--restore", "--apply", first, "--apply", second, "--no-viewer"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("fell below 0 beside edges or in air"));
  EXPECT_EQ(leastIn("out/sub-1_desc-restored_dwi", 0), 0.0F);
  for (const int t : {1, 2}) EXPECT_LT(leastIn("out/sub-1_desc-restored_dwi", t), -1.0F) << t;
}

}  // namespace mirel

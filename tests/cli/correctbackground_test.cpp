#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "support/jsonfile.h"
#include "support/niftifiles.h"

namespace mirel {

// Images to which an intensity was added, air included.

namespace {

using testing::HasSubstr;
using testing::Not;

class CorrectBackground : public CorrectPair {
 protected:
  /// A copy of an image with `added` in every voxel, beside which its sidecar is copied.
  std::string lifted(const std::string& image, float added, const std::string& name) const {
    nifti::Reader reader(image);
    nifti::Header header = nifti::floatMapLike(reader.header());
    nifti::Writer writer(file(name + ".nii.gz"), header);
    Volume<float> values = reader.readVolume(0);
    writer.write(values += added);
    writer.finish();
    std::string sidecar = image;
    sidecar.replace(sidecar.rfind(".nii.gz"), 7, ".json");
    std::ofstream(file(name + ".json")) << std::ifstream(sidecar).rdbuf();
    return file(name + ".nii.gz");
  }
  /// The summary of correcting a pair to which two intensities were added.
  nlohmann::json correctedLifted(const std::string& a, const std::string& b, float toA, float toB,
                                 const std::vector<std::string>& options = {}) {
    std::vector<std::string> words = {"correct",
                                      lifted(a, toA, "sub-1_dir-AP_epi"),
                                      lifted(b, toB, "sub-1_dir-PA_epi"),
                                      "--json",
                                      "--overwrite",
                                      "-o",
                                      out()};
    words.insert(words.end(), options.begin(), options.end());
    const ProgramResult result = runMirel(words);
    EXPECT_EQ(result.status, 0) << result.err;
    text = result.err;
    return nlohmann::json::parse(result.out);
  }
  Volume<float> result(const std::string& name) const { return imageIn(out("sub-1_" + name)); }

  std::string text;
};

constexpr const char* field = "desc-preproc_fieldmap.nii.gz";

TEST_F(CorrectBackground, IsTakenOffForTheEstimateAndTold) {
  const nlohmann::json plain = correctedLifted(ap(), pa(), 0, 0);
  EXPECT_EQ(plain["background"], nlohmann::json({0.0, 0.0}));
  EXPECT_THAT(text, Not(HasSubstr("Background")));
  const Volume<float> expected = result(field);
  for (const float added : {1000.0f, 300.0f, -500.0f}) {
    SCOPED_TRACE(added);
    const nlohmann::json summary = correctedLifted(ap(), pa(), added, added);
    EXPECT_LT(rmsInBrain(result(field), expected), 1.0);
    EXPECT_NEAR(summary["background"][0], added, 60);
    EXPECT_THAT(text, HasSubstr("Background taken off for the estimate: "));
    EXPECT_EQ(jsonOf(out("sub-1_desc-preproc_fieldmap.json"))["Mirel"]["Options"]["Background"],
              summary["background"]);
    EXPECT_NEAR(summary["pairCorrelation"]["after"], plain["pairCorrelation"]["after"], 0.01);
  }
}

TEST_F(CorrectBackground, IsTakenOffEachImageByItself) {
  correctedLifted(ap(), pa(), 0, 0);
  const Volume<float> expected = result(field);
  const nlohmann::json summary = correctedLifted(ap(), pa(), 0, 800);
  EXPECT_EQ(summary["background"][0], 0.0);
  EXPECT_NEAR(summary["background"][1], 800, 60);
  EXPECT_LT(rmsInBrain(result(field), expected), 3.0);
}

TEST_F(CorrectBackground, IsLeftAsItIsInTheCorrectedImages) {
  correctedLifted(ap(), pa(), 0, 0);
  const Volume<float> a = result("dir-AP_desc-preproc_epi.nii.gz");
  const Volume<float> b = result("dir-PA_desc-preproc_epi.nii.gz");
  correctedLifted(ap(), pa(), 1000, 1000);
  EXPECT_LT(rmsInBrain(result("dir-AP_desc-preproc_epi.nii.gz") - 1000.0f, a), 12);
  EXPECT_LT(rmsInBrain(result("dir-PA_desc-preproc_epi.nii.gz") - 1000.0f, b), 12);
}

TEST_F(CorrectBackground, IsLeftAsItIsInSeriesToo) {
  const std::string name = "task-rest_dir-AP_desc-preproc_bold";
  const std::string run = input("sub-phantom_task-rest_dir-AP_bold.nii.gz");
  correctedLifted(ap(), pa(), 0, 0, {"--apply", lifted(run, 0, "sub-1_task-rest_dir-AP_bold")});
  const Volume<float> plain = result(name + ".nii.gz");
  EXPECT_FALSE(jsonOf(out("sub-1_" + name + ".json"))["Mirel"]["Series"].contains("Background"));
  correctedLifted(ap(), pa(), 0, 0, {"--apply", lifted(run, 700, "sub-1_task-rest_dir-AP_bold")});
  EXPECT_LT(rmsInBrain(result(name + ".nii.gz") - 700.0f, plain), 12);
  EXPECT_NEAR(jsonOf(out("sub-1_" + name + ".json"))["Mirel"]["Series"]["Background"], 700, 60);
}

TEST_F(CorrectBackground, TheSearchStaysAsItIs) {
  EXPECT_EQ(correctedLifted(ap(), pa(), 300, 300, {"--fast"})["background"],
            nlohmann::json({0.0, 0.0}));
}

// Added constants up to the mean of the head, of a pair that has none.
TEST_F(CorrectBackground, ChangesARealFieldByLessThanOneHertz) {
  const std::string data = niftifiles::dataFolder();
  if (data.empty()) GTEST_SKIP() << "no folder with real images (MIREL_TEST_DATA)";
  const std::string a = data + "/siemens_prisma_dwi_bold_fmap/dwi/sub-01_dir-AP_b0.nii.gz";
  const std::string b = data + "/siemens_prisma_dwi_bold_fmap/dwi/sub-01_dir-PA_b0.nii.gz";
  const Volume<float> mean = (imageIn(a) + imageIn(b)) * 0.5f;
  const double threshold = correctedLifted(a, b, 0, 0)["foregroundThreshold"];
  const Volume<float> expected = result(field);
  for (const float added : {470.0f, 100.0f, 25.0f, 15.0f, -500.0f}) {
    correctedLifted(a, b, added, added);
    const Volume<float> found = result(field);
    double squares = 0, n = 0;
    for (int i = 0; i < mean.size(); ++i) {
      if (static_cast<double>(mean.data()[i]) <= threshold) continue;
      squares += std::pow(static_cast<double>(found.data()[i] - expected.data()[i]), 2);
      n += 1;
    }
    std::printf("added %g: the field in the head changes by %.3f Hz rms\n",
                static_cast<double>(added), std::sqrt(squares / n));
    EXPECT_LT(std::sqrt(squares / n), 1.0) << added;
  }
}

}  // namespace

}  // namespace mirel

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <numbers>

#include "cli/correctpair.h"
#include "nifti/image.h"
#include "numerics/splitmix.h"

namespace mirel {

namespace {

using Json = nlohmann::json;

const char* const series = "sub-phantom_task-rest_dir-AP_bold";

/// The pair of the other tests with series of gradient echoes.
class CorrectAlign : public CorrectPair {
 protected:
  /// A session whose head moved before the series by this; the name of its series.
  std::string session(const std::string& name, const std::vector<std::string>& motion) const {
    std::vector<std::string> words = {
        "phantom",   file(name), "--size",      "40", "48",        "28", "--voxel",       "4.5",
        "--readout", "0.04",     "--max-shift", "3",  "--volumes", "3",  "--series-echo", "0.03"};
    if (!motion.empty()) words.push_back("--series-motion");
    words.insert(words.end(), motion.begin(), motion.end());
    const ProgramResult result = runMirel(words);
    EXPECT_EQ(result.status, 0) << result.err;
    return file(name + "/" + series + ".nii.gz");
  }

  std::string corrected(const std::string& outputFolder) const {
    return file(outputFolder + "/" + series).substr(0, file(outputFolder).size() + 1) +
           "sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz";
  }

  static Json alignmentIn(const std::string& image) {
    const std::string sidecar = image.substr(0, image.size() - 7) + ".json";
    return Json::parse(std::ifstream(sidecar)).at("Mirel").at("Series").at("Alignment");
  }
};

}  // namespace

TEST_F(CorrectAlign, CarriesTheFieldAlongWithAHeadThatMoved) {
  const std::string moved = session("moved", {"4", "-3", "5", "3", "-4", "5"});
  const ProgramResult result = correct({"--apply", moved}, "with");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.err.find("the head moved since the pair, by "), std::string::npos) << result.err;
  ASSERT_EQ(correct({"--apply", moved, "--no-align"}, "without").status, 0);
  const Volume<float> truth = imageIn(file("moved/sub-phantom_desc-undistorted_bold.nii.gz"));
  const double with = correlationInBrain(truth, imageIn(corrected("with")));
  const double without = correlationInBrain(truth, imageIn(corrected("without")));
  EXPECT_GT(with, 0.97);
  EXPECT_LT(1 - with, 0.7 * (1 - without)) << with << " " << without;

  const Json found = alignmentIn(corrected("with"));
  EXPECT_EQ(found.at("Outcome"), "moved");
  const std::vector<double> mm = found.at("HeadMotion").at("TranslationMm"),
                            degrees = found.at("HeadMotion").at("RotationDegrees");
  const std::vector<double> trueMm = {4, -3, 5}, trueDegrees = {3, -4, 5};
  for (std::size_t n = 0; n < 3; ++n) {
    EXPECT_NEAR(mm[n], trueMm[n], 0.2) << n;
    EXPECT_NEAR(degrees[n], trueDegrees[n], 0.2) << n;
  }
}

TEST_F(CorrectAlign, LeavesEveryByteWhereTheHeadDidNotMove) {
  const std::string still = session("still", {});
  const ProgramResult result = correct({"--apply", still, "--json"}, "with");
  ASSERT_EQ(result.status, 0) << result.err;
  const Json told = Json::parse(result.out).at("series").at(0).at("alignment");
  EXPECT_EQ(told.at("outcome"), "not moved");
  EXPECT_LT(told.at("displacementMm").get<double>(), 4.5 / 16);
  const ProgramResult without = correct({"--apply", still, "--no-align", "--json"}, "without");
  ASSERT_EQ(without.status, 0) << without.err;
  EXPECT_FALSE(Json::parse(without.out).at("series").at(0).contains("alignment"));
  EXPECT_EQ(textOf(corrected("with")), textOf(corrected("without")));
}

// An image of something else, though of the same grid.
TEST_F(CorrectAlign, RefusesAMotionThatIsNotCredible) {
  const std::string strange = session("strange", {});
  nifti::Header header = nifti::Reader(strange).header();
  header.type = nifti::DataType::float32;
  Volume<float> noise(header.dims);
  for (int n = 0; n < noise.size(); ++n)
    noise.data()[n] = static_cast<float>(splitMix64(static_cast<std::uint64_t>(n)) % 1000);
  {
    nifti::Writer writer(strange, header);
    for (int t = 0; t < header.volumes; ++t) writer.write(noise);
    writer.finish();
  }
  const ProgramResult result = correct({"--apply", strange}, "with");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(alignmentIn(corrected("with")).at("Outcome"), "refused");
  EXPECT_NE(result.err.find("is not credible, since "), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("the head is taken to be where the headers put it"), std::string::npos);
  ASSERT_EQ(correct({"--apply", strange, "--no-align"}, "without").status, 0);
  EXPECT_EQ(textOf(corrected("with")), textOf(corrected("without")));
}

TEST_F(CorrectAlign, AlignsWithAReferenceWhereAFieldIsApplied) {
  const std::string moved = session("moved", {"4", "-3", "5", "3", "-4", "5"});
  ASSERT_EQ(correct({"--apply", moved}, "whole").status, 0);
  const std::string field = file("whole/sub-phantom_desc-preproc_fieldmap.nii.gz"),
                    mean = file("whole/sub-phantom_desc-preproc_magnitude.nii.gz");
  const ProgramResult result = runMirel({"apply", "--field", field, "--reference", mean, "--align",
                                         "--modulate", moved, "-o", file("applied")});
  ASSERT_EQ(result.status, 0) << result.err;
  const Volume<float> one = imageIn(corrected("whole")), other = imageIn(corrected("applied"));
  EXPECT_GT(correlationInBrain(one, other), 0.9999);
  EXPECT_EQ(runMirel({"apply", "--field", field, "--align", moved, "-o", file("x")}).status, 2);
}

}  // namespace mirel

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "support/jsonfile.h"

namespace mirel {

// By which method "mirel correct" estimates, and what it says of the head's motion.

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class CorrectEstimator : public CorrectPair {
 protected:
  nlohmann::json optionsRecord() const {
    return jsonOf(out("sub-phantom_desc-preproc_fieldmap.json"))["Mirel"]["Options"];
  }
  Volume<float> map(const std::string& folderName = "out") const {
    return imageIn(file(folderName + "/sub-phantom_dir-AP_desc-voxels_vdm.nii.gz"));
  }

  void expectRefused(const std::vector<std::string>& options, const std::string& sentence) const {
    const ProgramResult result = correct(options);
    EXPECT_EQ(result.status, 2) << sentence;
    EXPECT_THAT(result.err, HasSubstr(sentence));
    EXPECT_FALSE(std::filesystem::exists(out()));
  }
};

TEST_F(CorrectEstimator, IsTheMassPreservingOneByDefault) {
  const ProgramResult result = correct({});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, AllOf(HasSubstr("Intensity of the first image over that of the second: "),
                                HasSubstr("Head motion between the images: none found\n")));
  const nlohmann::json record = optionsRecord();
  EXPECT_EQ(record["Estimator"], "mass-preserving");
  EXPECT_EQ(record["EstimateMotion"], true);
  EXPECT_TRUE(record["HeadMotion"].is_null());
  EXPECT_NEAR(record["IntensityRatio"], 1.0, 0.02);
  EXPECT_FALSE(record.contains("Measure"));
  ASSERT_EQ(correct({"--estimator", "mass-preserving"}, "named").status, 0);
  EXPECT_EQ(map(), map("named"));
}

TEST_F(CorrectEstimator, IsFarCloserToTheTrueFieldThanTheSearch) {
  ASSERT_EQ(correct({}).status, 0);
  ASSERT_EQ(correct({"--estimator", "search"}, "search").status, 0);
  const std::string name = "/sub-phantom_desc-preproc_fieldmap.nii.gz";
  const Volume<float> truth = imageIn(input("sub-phantom_desc-truth_fieldmap.nii.gz"));
  EXPECT_LT(rmsInBrain(imageIn(file("out" + name)), truth),
            0.3 * rmsInBrain(imageIn(file("search" + name)), truth));
}

TEST_F(CorrectEstimator, IsTheSearchWhenNamedOrImplied) {
  const ProgramResult named = correct({"--estimator", "search"});
  ASSERT_EQ(named.status, 0) << named.err;
  EXPECT_THAT(named.err, Not(HasSubstr("motion")));
  const nlohmann::json record = optionsRecord();
  EXPECT_EQ(record["Estimator"], "search");
  EXPECT_EQ(record["Measure"], "NCC");
  EXPECT_EQ(record["IntensityCorrection"], true);
  EXPECT_FALSE(record.contains("HeadMotion"));
  ASSERT_EQ(correct({"--ncc"}, "implied").status, 0);
  EXPECT_EQ(map(), map("implied"));
  ASSERT_EQ(correct({"--estimator", "search", "--fast", "--quiet"}, "fast").status, 0);
  EXPECT_NE(map(), map("fast"));
}

TEST_F(CorrectEstimator, RefusesOptionsOfTheOtherOne) {
  for (const char* option : {"--ssd", "--ncc", "--ic", "--no-ic", "--fast"}) {
    expectRefused({"--estimator", "mass-preserving", option},
                  "--ssd, --ncc, --ic, --no-ic and --fast, which are of the search");
    expectRefused({"--no-motion", option}, "the search, which knows no motion");
  }
  expectRefused({"--no-motion", "--estimator", "search"}, "the search, which knows no motion");
  expectRefused({"--estimator", "best"}, "best");
}

TEST_F(CorrectEstimator, WithoutMotionToFindChangesNothing) {
  ASSERT_EQ(correct({}).status, 0);
  const ProgramResult plain = correct({"--no-motion"}, "plain");
  ASSERT_EQ(plain.status, 0) << plain.err;
  EXPECT_THAT(plain.err, AllOf(HasSubstr("Head motion between the images: not looked for"),
                               Not(HasSubstr("none found"))));
  const nlohmann::json told = nlohmann::json::parse(correct({"--no-motion", "--json"}, "told").out);
  EXPECT_EQ(told["estimateMotion"], false);
  EXPECT_EQ(map(), map("plain"));
  EXPECT_EQ(imageIn(out("sub-phantom_dir-PA_desc-preproc_epi.nii.gz")),
            imageIn(file("plain/sub-phantom_dir-PA_desc-preproc_epi.nii.gz")));
  EXPECT_EQ(
      jsonOf(file(
          "plain/sub-phantom_desc-preproc_fieldmap.json"))["Mirel"]["Options"]["EstimateMotion"],
      false);
}

// A pair whose head moved before the second image.
class CorrectMovedHead : public CorrectEstimator {
 protected:
  void SetUp() override {
    const ProgramResult made =
        runMirel({"phantom",  file("moved"), "--size", "40",          "48", "28",        "--voxel",
                  "4.5",      "--readout",   "0.04",   "--max-shift", "3",  "--volumes", "0",
                  "--motion", "2",           "0",      "-2",          "1",  "-2",        "2"});
    ASSERT_EQ(made.status, 0) << made.err;
  }
  ProgramResult correctMoved(const std::vector<std::string>& options,
                             const std::string& folderName = "out") const {
    std::vector<std::string> words = {"correct", movedInput("dir-AP_epi.nii.gz"),
                                      movedInput("dir-PA_epi.nii.gz")};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), {"-o", file(folderName)});
    return runMirel(words);
  }
  std::string movedInput(const std::string& name) const {
    return file("moved/sub-phantom_" + name);
  }
  static void expectTheMotion(const nlohmann::json& record) {
    // i runs to the right, j to the front and k up, as x, y and z do.
    EXPECT_NEAR(record["TranslationMm"][0], 2.0, 0.25);
    EXPECT_NEAR(record["TranslationMm"][2], -2.0, 0.25);
    EXPECT_NEAR(record["RotationDegrees"][0], 1.0, 0.25);
    EXPECT_NEAR(record["RotationDegrees"][1], -2.0, 0.25);
    EXPECT_NEAR(record["RotationDegrees"][2], 2.0, 0.25);
  }
};

TEST_F(CorrectMovedHead, IsReportedEverywhere) {
  const ProgramResult result = correctMoved({"--json"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err,
              AllOf(HasSubstr("Head motion between the images: "), HasSubstr(" mm along and "),
                    HasSubstr(" degrees about i, j, k\n"), Not(HasSubstr("none found")),
                    HasSubstr("its motion was undone as well")));
  expectTheMotion(nlohmann::json::parse(result.out)["headMotion"]);
  for (const char* name : {"desc-preproc_fieldmap", "dir-AP_desc-voxels_vdm",
                           "dir-PA_desc-preproc_epi", "dir-AP_desc-preproc_epi"})
    expectTheMotion(jsonOf(
        out("sub-phantom_" + std::string(name) + ".json"))["Mirel"]["Options"]["HeadMotion"]);
}

TEST_F(CorrectMovedHead, IsTakenOutOfFieldAndSecondImage) {
  ASSERT_EQ(correctMoved({}).status, 0);
  const ProgramResult still = correctMoved({"--no-motion"}, "still");
  ASSERT_EQ(still.status, 0) << still.err;
  EXPECT_THAT(still.err, Not(HasSubstr("was undone")));
  const auto image = [&](const std::string& folderName, const std::string& name) {
    return imageIn(file(folderName + "/sub-phantom_" + name));
  };
  const Volume<float> truth = imageIn(movedInput("desc-truth_fieldmap.nii.gz"));
  EXPECT_LT(rmsInBrain(image("out", "desc-preproc_fieldmap.nii.gz"), truth),
            0.4 * rmsInBrain(image("still", "desc-preproc_fieldmap.nii.gz"), truth));
  const auto agreement = [&](const std::string& folderName) {
    return correlationInBrain(image(folderName, "dir-AP_desc-preproc_epi.nii.gz"),
                              image(folderName, "dir-PA_desc-preproc_epi.nii.gz"));
  };
  EXPECT_GT(agreement("out"), agreement("still") + 0.05);
}

TEST_F(CorrectMovedHead, TheAxesAreThoseOfTheImageWhenXIsEncoded) {
  const ProgramResult made = runMirel(
      {"phantom",   file("moved"), "--size",      "48", "40",        "28", "--voxel",     "4.5",
       "--readout", "0.04",        "--max-shift", "3",  "--volumes", "0",  "--direction", "i",
       "--motion",  "0",           "2",           "-2", "2",         "1",  "-2"});
  ASSERT_EQ(made.status, 0) << made.err;
  const ProgramResult result =
      runMirel({"correct", movedInput("dir-LR_epi.nii.gz"), movedInput("dir-RL_epi.nii.gz"),
                "--json", "--quiet", "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  const nlohmann::json motion = nlohmann::json::parse(result.out)["headMotion"];
  // LR is the second image of the phantom: the motion leads back.
  EXPECT_NEAR(motion["TranslationMm"][1], -2.0, 0.4);
  EXPECT_NEAR(motion["TranslationMm"][2], 2.0, 0.4);
  EXPECT_NEAR(motion["RotationDegrees"][0], -2.0, 0.4);
  EXPECT_NEAR(motion["RotationDegrees"][1], -1.0, 0.4);
  EXPECT_NEAR(motion["RotationDegrees"][2], 2.0, 0.4);
}

}  // namespace

}  // namespace mirel

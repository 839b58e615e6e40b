#include <cmath>
#include <numbers>

#include "cli/tinystudy.h"
#include "nifti/image.h"

// mirel bids on datasets whose fields a scanner measured: phase differences, phases of two echoes,
// fields in Hz.

namespace mirel {

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr double pi = std::numbers::pi;
constexpr const char* truthHz = "desc-truth_fieldmap";

class BidsMeasured : public TinyStudy {
 protected:
  void SetUp() override {
    TinyStudy::SetUp();
    image("task-rest_dir-AP_bold", "sub-1/func/sub-1_task-rest_bold",
          sidecar("j-", R"("TaskName": "rest")"));
  }
  /// The true field as a scanner tells it, after `seconds`, in 12 bits.
  void phase(const std::string& stem, double seconds, const std::string& fields) const {
    image(truthHz, stem, fields);
    nifti::Reader reader(raw(stem + ".nii.gz"));
    const nifti::Header header = reader.header();
    Volume<float> volume = reader.readVolume(0);
    for (int n = 0; n < volume.size(); ++n) {
      const double angle =
          std::remainder(2 * pi * seconds * static_cast<double>(volume.data()[n]), 2 * pi);
      volume.data()[n] = static_cast<float>(std::min(4095.0, std::round(2048 + 2048 / pi * angle)));
    }
    nifti::Writer writer(raw(stem + ".nii.gz"), header);
    writer.write(volume);
    writer.finish();
  }
  void magnitude() const {
    image("desc-undistorted_epi", "sub-1/fmap/sub-1_magnitude1", R"({"EchoTime": 0.005})");
  }
  ProgramResult correct() const {
    return runMirel({"bids", raw(), out(), "participant", "--no-report"});
  }
  static std::string measured() { return "sub-1/fmap/sub-1_desc-preprocMeasured_fieldmap"; }
  static std::string corrected() { return "sub-1/func/sub-1_task-rest_desc-preproc_bold"; }
  std::string tableOfPlan() const { return textOf(out("logs/sub-1_plan.tsv")); }
};

TEST_F(BidsMeasured, APhaseDifferenceCorrectsWhatItIsIntendedFor) {
  phase("sub-1/fmap/sub-1_phasediff", 0.01,
        R"({"EchoTime1": 0.005, "EchoTime2": 0.015,
            "IntendedFor": "bids::sub-1/func/sub-1_task-rest_bold.nii.gz"})");
  magnitude();
  const ProgramResult result = correct();
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(tableOfPlan(), AllOf(HasSubstr("corrected\tsub-1_desc-preprocMeasured_fieldmap\t"
                                             "sub-1/fmap/sub-1_phasediff.nii.gz\tIntendedFor"),
                                   HasSubstr(corrected())));
  EXPECT_TRUE(fs::exists(out(measured() + ".json")));
  EXPECT_THAT(
      textOf(out(corrected() + ".json")),
      AllOf(HasSubstr("preprocMeasured_fieldmap.nii.gz"), HasSubstr(R"("Verdict": "right")")));
}

TEST_F(BidsMeasured, ASecondRunLeavesWhatIsUpToDateAndANewMagnitudeDoesNot) {
  phase("sub-1/fmap/sub-1_phasediff", 0.01, R"({"EchoTime1": 0.005, "EchoTime2": 0.015})");
  ASSERT_EQ(correct().status, 0);
  const std::string before = textOf(out(measured() + ".json"));
  EXPECT_THAT(correct().out, HasSubstr("up to date: sub-1_desc-preprocMeasured"));
  EXPECT_EQ(textOf(out(measured() + ".json")), before);
  magnitude();
  EXPECT_THAT(correct().out, HasSubstr("corrected: sub-1_desc-preprocMeasured"));
  EXPECT_NE(textOf(out(measured() + ".json")), before);
}

TEST_F(BidsMeasured, TwoEchoesAreOneField) {
  phase("sub-1/fmap/sub-1_phase1", 0.012, R"({"EchoTime": 0.012, "B0FieldIdentifier": "gre"})");
  phase("sub-1/fmap/sub-1_phase2", 0.02, R"({"EchoTime": 0.02, "B0FieldIdentifier": "gre"})");
  magnitude();
  text("sub-1/func/sub-1_task-rest_bold.json", sidecar("j-", R"("B0FieldSource": "gre")"));
  const ProgramResult result = correct();
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(tableOfPlan(), HasSubstr("sub-1/fmap/sub-1_phase1.nii.gz, "
                                       "sub-1/fmap/sub-1_phase2.nii.gz\tB0FieldIdentifier"));
  EXPECT_THAT(textOf(out(measured() + ".json")), HasSubstr("sub-1_phase2.nii.gz"));
}

TEST_F(BidsMeasured, AFieldInHertzIsAssumedToServeItsSession) {
  image(truthHz, "sub-1/fmap/sub-1_fieldmap", R"({"Units": "Hz"})");
  image("desc-undistorted_epi", "sub-1/fmap/sub-1_magnitude", "{}");
  const ProgramResult result = correct();
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(tableOfPlan(), HasSubstr("assumed, since no sidecar says it: sub-1_fieldmap.nii.gz "
                                       "measures a field of its session"));
  EXPECT_TRUE(fs::exists(out(corrected() + ".nii.gz")));
  EXPECT_THAT(correct().out, HasSubstr("up to date: sub-1_desc-preprocMeasured"));
}

TEST_F(BidsMeasured, WhatCannotBeReadIsLeftBeforeAnythingIsDone) {
  text("sub-1/fmap/sub-1_phasediff.nii.gz", "no image");
  text("sub-1/fmap/sub-1_phasediff.json", R"({"EchoTime1": 0.005, "EchoTime2": 0.015})");
  EXPECT_EQ(correct().status, 0);
  EXPECT_THAT(tableOfPlan(), AllOf(HasSubstr("left"), HasSubstr("sub-1_phasediff.nii.gz")));
}

// The settings of the command decide, too.
TEST_F(BidsMeasured, AlignmentThatIsNotWantedAnyMoreIsDoneWithout) {
  image(truthHz, "sub-1/fmap/sub-1_fieldmap", R"({"Units": "Hz"})");
  magnitude();
  ASSERT_EQ(correct().status, 0);
  EXPECT_THAT(textOf(out(corrected() + ".json")), HasSubstr("\"Alignment\""));
  const auto without = [&] {
    return runMirel({"bids", raw(), out(), "participant", "--no-report", "--no-align"}).out;
  };
  EXPECT_THAT(without(), HasSubstr("corrected: sub-1_desc-preprocMeasured"));
  EXPECT_THAT(textOf(out(corrected() + ".json")), Not(HasSubstr("\"Alignment\"")));
  EXPECT_THAT(without(), HasSubstr("up to date"));
  EXPECT_THAT(correct().out, HasSubstr("corrected: sub-1_desc-preprocMeasured"));
}

// Those of mirel apply with the same field.
TEST_F(BidsMeasured, SettingsGiveTheBytesOfTheSingleCommand) {
  phase("sub-1/fmap/sub-1_phasediff", 0.01, R"({"EchoTime1": 0.005, "EchoTime2": 0.015})");
  magnitude();
  const std::vector<std::string> settings = {"--realign", "--interpolation", "lanczos",
                                             "--no-report"};
  const auto with = [&](std::vector<std::string> words) {
    words.insert(words.end(), settings.begin(), settings.end());
    return runMirel(words);
  };
  const ProgramResult result = with({"bids", raw(), out(), "participant"});
  ASSERT_EQ(result.status, 0) << result.err;
  const ProgramResult single = with({"apply", "--field", out(measured() + ".nii.gz"),
                                     raw("sub-1/func/sub-1_task-rest_bold.nii.gz"), "--reference",
                                     raw("sub-1/fmap/sub-1_magnitude1.nii.gz"), "--align",
                                     "--modulate", "-o", folder.file("single")});
  ASSERT_EQ(single.status, 0) << single.err;
  int compared = 0;
  for (const auto& entry : fs::directory_iterator(folder.file("single"))) {
    if (entry.path().extension() == ".json") continue;
    const std::string name = entry.path().filename().string();
    EXPECT_TRUE(textOf(entry.path().string()) == textOf(out("sub-1/func/" + name))) << name;
    ++compared;
  }
  EXPECT_EQ(compared, 2) << "the image, and the motion within";
  EXPECT_THAT(with({"bids", raw(), out(), "participant"}).out, HasSubstr("up to date"));
}

TEST_F(BidsMeasured, AFaultyOneFailsWithItsSentenceAndNothingIsWritten) {
  phase("sub-1/fmap/sub-1_phasediff", 0.01, "{}");
  const ProgramResult result = correct();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(tableOfPlan(), AllOf(HasSubstr("failed"), HasSubstr("sub-1_phasediff.nii.gz")));
  EXPECT_FALSE(fs::exists(out(measured() + ".nii.gz")));
  EXPECT_FALSE(fs::exists(out(corrected() + ".nii.gz")));
}

TEST_F(BidsMeasured, APairOfTheSessionIsPreferredToIt) {
  phase("sub-1/fmap/sub-1_phasediff", 0.01, R"({"EchoTime1": 0.005, "EchoTime2": 0.015})");
  image("dir-AP_epi", "sub-1/fmap/sub-1_dir-AP_epi", sidecar("j-"));
  image("dir-PA_epi", "sub-1/fmap/sub-1_dir-PA_epi", sidecar("j"));
  ASSERT_EQ(correct().status, 0);
  EXPECT_FALSE(fs::exists(out(measured() + ".nii.gz")));
  EXPECT_TRUE(fs::exists(out("sub-1/fmap/sub-1_desc-preproc_fieldmap.nii.gz")));
}

}  // namespace

}  // namespace mirel

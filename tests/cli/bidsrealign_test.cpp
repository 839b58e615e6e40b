#include <map>
#include <nlohmann/json.hpp>

#include "base/numbertext.h"
#include "cli/motionforms.h"
#include "cli/tinystudy.h"

namespace mirel {

// "mirel bids" with motion within series and other interpolation, held against single commands.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using Words = std::vector<std::string>;

constexpr const char *boldResult = "sub-1/func/sub-1_task-rest_desc-preproc_bold",
                     *dwiResult = "sub-1/dwi/sub-1_desc-preproc_dwi",
                     *sbrefResult = "sub-1/func/sub-1_task-rest_desc-preproc_sbref",
                     *cubicMean = "sub-1/fmap/sub-1_desc-cubic_magnitude";
constexpr const char* boldMotion =
    "sub-1/func/sub-1_task-rest_from-orig_to-boldref_mode-image_desc-hmc_xfm";
constexpr const char* dwiMotion = "sub-1/dwi/sub-1_from-orig_to-dwiref_mode-image_desc-hmc_xfm";

/// A subject with a pair, a series in which the head moves, its reference and a diffusion series.
class BidsRealign : public TinyStudy {
 protected:
  static void SetUpTestSuite() {
    const TemporaryFolder rows;
    // Away from the pair in all volumes.
    const motionforms::Motions motions = {{{5, 4, 3}, {0, 2, 6}},
                                          {{6.5, 3, 5}, {2, 0, 9}},
                                          {{3, 6.5, 2}, {-3, 4, 4}},
                                          {{5, 7, 3}, {0, 2, 11}}};
    makeImages({"--volumes", "4", "--noise", "0.01", "--volume-motion",
                rows.write("motion.txt", motionforms::phantomRows(motions))});
  }
  void SetUp() override {
    TinyStudy::SetUp();
    addSubject("1");
  }
  void addSubject(const std::string& label) const {
    const std::string at = "sub-" + label + "/", name = "sub-" + label + "_";
    const std::string asks = R"("B0FieldSource": "f")", tells = R"("B0FieldIdentifier": "f")";
    image("dir-AP_epi", at + "fmap/" + name + "dir-AP_epi", sidecar("j-", tells));
    image("dir-PA_epi", at + "fmap/" + name + "dir-PA_epi", sidecar("j", tells));
    image("task-rest_dir-AP_bold", at + "func/" + name + "task-rest_bold", sidecar("j-", asks));
    image("dir-AP_epi", at + "func/" + name + "task-rest_sbref", sidecar("j-", asks));
    image("task-rest_dir-AP_bold", at + "dwi/" + name + "dwi", sidecar("j-", asks));
    text(at + "dwi/" + name + "dwi.bval", "0 0 1000 0\n");
    text(at + "dwi/" + name + "dwi.bvec", "0 0 0.6 0\n0 0 0.8 0\n0 0 0 0\n");
  }

  ProgramResult correctAll(Words options = {}) const {
    options.emplace_back("--no-report");
    return bids(options);
  }
  /// What is corrected, what is up to date.
  static testing::Matcher<std::string> counts(int corrected, int upToDate) {
    return HasSubstr("Done: " + counted(corrected, "image") + " corrected, " +
                     std::to_string(upToDate) + " were up to date");
  }
  json seriesIn(const std::string& stem) const {
    return json::parse(textOf(out(stem + ".json"))).at("Mirel").at("Series");
  }
  /// The bytes of all files but records, pages and logs, by their names.
  std::map<std::string, std::string> results(const std::string& where) const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(where)) {
      const fs::path& file = entry.path();
      if (entry.is_regular_file() && file.string().find("/sub-") != std::string::npos &&
          file.string().find("/logs/") == std::string::npos && file.extension() != ".json")
        files[file.filename().string()] = textOf(file.string());
    }
    return files;
  }
  void expectEqual(const std::map<std::string, std::string>& found,
                   const std::map<std::string, std::string>& wanted) const {
    for (const auto& [name, bytes] : found) {
      ASSERT_EQ(wanted.count(name), 1U) << name;
      EXPECT_TRUE(bytes == wanted.at(name)) << name;
    }
    EXPECT_EQ(found.size(), wanted.size());
  }
  std::map<std::string, std::string> bySingleCommand(const Words& options) const {
    const std::string fmap = raw("sub-1/fmap/sub-1_dir-"), to = folder.file("single");
    Words words = {"correct", fmap + "AP_epi.nii.gz", fmap + "PA_epi.nii.gz", "--no-report", "-o",
                   to};
    for (const char* run :
         {"func/sub-1_task-rest_bold", "func/sub-1_task-rest_sbref", "dwi/sub-1_dwi"})
      words.insert(words.end(), {"--apply", raw("sub-1/" + std::string(run) + ".nii.gz")});
    words.insert(words.end(), options.begin(), options.end());
    const ProgramResult single = runMirel(words);
    EXPECT_EQ(single.status, 0) << single.err;
    std::map<std::string, std::string> files = results(to);
    // That nothing moved within one volume the single command writes, too.
    EXPECT_EQ(files.erase("sub-1_task-rest_from-orig_to-sbrefref_mode-image_desc-hmc_xfm.txt"), 1U);
    return files;
  }
};

}  // namespace

TEST_F(BidsRealign, GivesTheBytesOfTheSingleCommand) {
  const Words options = {"--realign"};
  const ProgramResult result = correctAll(options);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(seriesIn(boldResult).at("Realignment").at("VolumesMoved"), 3);
  EXPECT_EQ(seriesIn(dwiResult).at("Realignment").at("VolumesBetween"), 1);
  EXPECT_FALSE(seriesIn(sbrefResult).contains("Realignment")) << "it has one volume";
  const auto found = results(out());
  EXPECT_EQ(found.count(fs::path(boldMotion).filename().string() + ".txt"), 1U);
  expectEqual(found, bySingleCommand(options));
}

TEST_F(BidsRealign, GivesItsBytesByAnotherInterpolationToo) {
  const Words options = {"--realign", "--realign-weighted", "--interpolation", "lanczos"};
  const ProgramResult result = correctAll(options);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(seriesIn(dwiResult).at("Realignment").at("WeightedVolumesToo"), true);
  EXPECT_EQ(seriesIn(boldResult).at("Alignment").at("Outcome"), "moved");
  // Series are aligned with what they would be aligned with by cubic splines.
  auto found = results(out());
  EXPECT_EQ(found.erase(fs::path(cubicMean).filename().string() + ".nii.gz"), 1U);
  expectEqual(found, bySingleCommand(options));
}

TEST_F(BidsRealign, ThreadsChangeNoByte) {
  addSubject("2");
  const Words options = {"--realign", "--realign-weighted", "--interpolation", "linear"};
  const auto withThreads = [&](const char* count) {
    Words words = options;
    words.insert(words.end(), {"--n-cpus", count});
    EXPECT_THAT(correctAll(words).err, counts(10, 0));
    auto made = results(out());
    fs::remove_all(out());
    return made;
  };
  const auto one = withThreads("1");
  expectEqual(withThreads("5"), one);
}

TEST_F(BidsRealign, WhatWasMadeWithoutIsNotUpToDate) {
  ASSERT_THAT(correctAll().err, counts(5, 0));
  EXPECT_FALSE(isThere(std::string(boldMotion) + ".txt"));
  const std::string still = textOf(out(boldResult) + ".nii.gz"),
                    bvec = textOf(out(dwiResult) + ".bvec");
  EXPECT_THAT(correctAll({"--realign"}).err, counts(2, 3)) << "the pair and the sbref stay";
  EXPECT_TRUE(isThere(std::string(boldMotion) + ".json"));
  EXPECT_NE(textOf(out(boldResult) + ".nii.gz"), still);
  EXPECT_NE(textOf(out(dwiResult) + ".bvec"), bvec);
  EXPECT_THAT(correctAll({"--realign"}).err, counts(0, 5));

  EXPECT_THAT(correctAll({"--realign", "--realign-weighted"}).err, counts(1, 4));
  EXPECT_THAT(correctAll({"--realign", "--realign-weighted"}).err, counts(0, 5));
  EXPECT_THAT(correctAll({"--realign"}).err, counts(1, 4)) << "of the diffusion series";

  EXPECT_THAT(correctAll().err, counts(2, 3));
  EXPECT_EQ(textOf(out(boldResult) + ".nii.gz"), still);
  EXPECT_EQ(textOf(out(dwiResult) + ".bvec"), bvec);
  for (const char* motion : {boldMotion, dwiMotion})
    for (const char* end : {".txt", ".json"})
      EXPECT_FALSE(isThere(motion + std::string(end))) << "it is not true of what is there";
  EXPECT_THAT(textOf(out("logs/sub-1.log")), HasSubstr("_desc-hmc_xfm.txt, the motion of an "
                                                       "earlier run of this series, was removed"));
  EXPECT_THAT(correctAll().err, counts(0, 5));
}

TEST_F(BidsRealign, WhatIsMissingOrChangedIsMadeAgain) {
  const Words options = {"--realign"};
  ASSERT_THAT(correctAll(options).err, counts(5, 0));
  fs::remove(out(boldMotion) + ".txt");
  EXPECT_THAT(correctAll(options).err, counts(1, 4));
  EXPECT_TRUE(isThere(std::string(boldMotion) + ".txt"));
  text("sub-1/dwi/sub-1_dwi.bvec", "0 0 0.8 0\n0 0 0.6 0\n0 0 0 0\n");
  EXPECT_THAT(correctAll(options).err, counts(1, 4)) << "whose directions are turned";
  text("sub-1/dwi/sub-1_dwi.bval", "0 0 900 0\n");
  EXPECT_THAT(correctAll(options).err, counts(1, 4));
  EXPECT_THAT(correctAll(options).err, counts(0, 5));
}

TEST_F(BidsRealign, WhatWasInterpolatedOtherwiseIsNotUpToDate) {
  ASSERT_THAT(correctAll().err, counts(5, 0));
  const auto cubic = results(out());
  EXPECT_THAT(correctAll({"--interpolation", "cubic"}).err, counts(0, 5));
  EXPECT_THAT(correctAll({"--interpolation", "linear"}).err, counts(5, 0));
  EXPECT_NE(textOf(out(boldResult) + ".nii.gz"),
            cubic.at(fs::path(boldResult).filename().string() + ".nii.gz"));
  EXPECT_THAT(correctAll({"--interpolation", "linear"}).err, counts(0, 5));
  fs::remove(out(cubicMean) + ".nii.gz");
  EXPECT_THAT(correctAll({"--interpolation", "linear"}).err, counts(2, 3));
  EXPECT_THAT(correctAll().err, counts(5, 0));
  EXPECT_FALSE(isThere(std::string(cubicMean) + ".json"));
  expectEqual(results(out()), cubic);
}

// What somebody corrected by hand into the folder of results, with motion of his own.
TEST_F(BidsRealign, MotionThatWasGivenIsNotThatOfTheCommand) {
  ASSERT_THAT(correctAll({"--realign"}).err, counts(5, 0));
  const std::string motion = folder.write("mine.txt", textOf(out(boldMotion) + ".txt"));
  const ProgramResult byHand =
      runMirel({"apply", "--field", out("sub-1/fmap/sub-1_desc-preproc_fieldmap.nii.gz"),
                raw("sub-1/func/sub-1_task-rest_bold.nii.gz"), "--reference",
                out("sub-1/fmap/sub-1_desc-preproc_magnitude.nii.gz"), "--align", "--modulate",
                "--motion", motion, "-o", out("sub-1/func"), "--overwrite", "--no-report"});
  ASSERT_EQ(byHand.status, 0) << byHand.err;
  EXPECT_THAT(correctAll({"--realign"}).err, counts(1, 4));
  ASSERT_TRUE(seriesIn(boldResult).contains("Realignment"));
}

TEST_F(BidsRealign, MotionOfAnotherProgramIsNotReplaced) {
  ASSERT_THAT(correctAll().err, counts(5, 0));
  const std::string file = out(boldMotion) + ".txt";
  folder.write("out/" + std::string(boldMotion) + ".txt", "not ours");
  const ProgramResult result = correctAll({"--realign"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(
      textOf(out("logs/sub-1_plan.tsv")),
      HasSubstr(
          "_desc-hmc_xfm.txt is there already, and no record beside it tells that it was made "
          "of the same images\t"));
  EXPECT_EQ(textOf(file), "not ours");
  EXPECT_FALSE(seriesIn(boldResult).contains("Realignment"));
}

TEST_F(BidsRealign, AMeanOfAnotherProgramIsNotReplaced) {
  ASSERT_THAT(correctAll().err, counts(5, 0));
  folder.write("out/" + std::string(cubicMean) + ".nii.gz", "not ours");
  const ProgramResult result = correctAll({"--interpolation", "linear"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err + textOf(out("logs/sub-1_plan.tsv")), HasSubstr("is there already"));
  EXPECT_EQ(textOf(out(std::string(cubicMean) + ".nii.gz")), "not ours");
}

// Those of a run before would be read as the new image's.
TEST_F(BidsRealign, GradientsThatAreGoneAreGoneFromTheResults) {
  for (const std::string end : {".bvec", ".bval"}) {
    ASSERT_EQ(correctAll({"--realign"}).status, 0);
    ASSERT_TRUE(fs::exists(out("sub-1/dwi/sub-1_desc-preproc_dwi" + end)));
    const std::string kept = textOf(raw("sub-1/dwi/sub-1_dwi" + end));
    fs::remove(raw("sub-1/dwi/sub-1_dwi" + end));
    EXPECT_THAT(correctAll({"--realign"}).err, counts(1, 4));
    EXPECT_FALSE(fs::exists(out("sub-1/dwi/sub-1_desc-preproc_dwi" + end)));
    EXPECT_THAT(correctAll({"--realign"}).err, counts(0, 5));
    text("sub-1/dwi/sub-1_dwi" + end, kept);
  }
}

// Of a dataset without them somebody may lay them beside the result by hand.
TEST_F(BidsRealign, GradientsThatNoRunWroteStay) {
  fs::remove(raw("sub-1/dwi/sub-1_dwi.bval"));
  ASSERT_THAT(correctAll().err, counts(5, 0));
  const std::string table = "sub-1/dwi/sub-1_desc-preproc_dwi.bval";
  folder.write("out/" + table, "by hand");
  EXPECT_THAT(correctAll().err, counts(0, 5));
  EXPECT_THAT(correctAll({"--interpolation", "linear"}).err, counts(5, 0));
  EXPECT_EQ(textOf(out(table)), "by hand");
  EXPECT_THAT(textOf(out("logs/sub-1_plan.tsv")),
              HasSubstr(table + " is not of this run, since there is none beside "));
}

TEST_F(BidsRealign, ThePlanSaysWhatIsDoneOtherwise) {
  const std::string plain = correctAll({"--dry-run"}).out;
  EXPECT_THAT(plain, Not(AllOf(HasSubstr("motion"), HasSubstr("interpolation"))));
  const std::string plan = correctAll({"--dry-run", "--realign", "--interpolation", "linear"}).out;
  EXPECT_THAT(plan,
              HasSubstr("that B0FieldSource asks for\n    motion within the series is looked for, "
                        "linear interpolation\n"));
  EXPECT_THAT(plan, HasSubstr("    one volume, within which no motion is looked for, linear "));
  EXPECT_THAT(plan, HasSubstr("    corrected with its pair, linear interpolation\n"));
  text("sub-1/dwi/sub-1_dwi.bval", "0 1000 1000 1000\n");
  EXPECT_THAT(correctAll({"--dry-run", "--realign"}).out,
              HasSubstr("no motion is looked for: fewer than two volumes have no gradients\n"));
  fs::remove(raw("sub-1/dwi/sub-1_dwi.bval"));
  EXPECT_THAT(correctAll({"--dry-run", "--realign"}).out,
              HasSubstr("no motion is looked for without a .bval\n"));
  EXPECT_FALSE(isThere(""));

  ASSERT_THAT(correctAll({"--realign"}).err, counts(5, 0));
  EXPECT_THAT(textOf(out("logs/sub-1_plan.tsv")),
              AllOf(HasSubstr("\toutput\twarnings\tsettings\n"),
                    HasSubstr("\tmotion within the series is looked for\n")));
  EXPECT_THAT(textOf(out("logs/sub-1_plan.json")),
              HasSubstr(R"("Settings": "motion within the series is looked for")"));
  ASSERT_THAT(correctAll().err, counts(2, 3));
  EXPECT_THAT(textOf(out("logs/sub-1_plan.tsv")), HasSubstr("\toutput\twarnings\n"));
}

TEST_F(BidsRealign, TheTableOfAllImagesTellsTheMotion) {
  const auto table = [&] {
    EXPECT_EQ(runMirel({"bids", raw(), out(), "group"}).status, 0);
    return textOf(out("group_corrected.tsv"));
  };
  ASSERT_EQ(correctAll().status, 0);
  EXPECT_THAT(table(), Not(HasSubstr("motion_within")));
  EXPECT_THAT(textOf(out("group_corrected.json")), Not(HasSubstr("motion_within")));
  ASSERT_EQ(correctAll({"--realign"}).status, 0);
  EXPECT_THAT(table(), HasSubstr("\tresidual\tmotion_within\tsign_check\t"));
  const double largest = seriesIn(boldResult).at("Motion").at("LargestDisplacementMm");
  EXPECT_GT(largest, 3);
  EXPECT_THAT(table(), HasSubstr("\t" + json(largest).dump().substr(0, 4)));
  EXPECT_THAT(textOf(out("group_corrected.json")), HasSubstr("\"motion_within\""));
  EXPECT_THAT(textOf(out("index.html")), HasSubstr("Motion within (mm)"));
}

// With the magnitude beside it, to which series are aligned.
TEST_F(BidsRealign, AMeasuredFieldGetsTheSame) {
  fs::remove_all(raw("sub-1/fmap"));
  image("desc-truth_fieldmap", "sub-1/fmap/sub-1_fieldmap",
        R"({"Units": "Hz", "B0FieldIdentifier": "f"})");
  image("desc-undistorted_epi", "sub-1/fmap/sub-1_magnitude", "{}");
  const Words options = {"--realign", "--interpolation", "linear"};
  const ProgramResult result = correctAll(options);
  ASSERT_THAT(result.err, counts(3, 0)) << result.out;
  Words words = {"apply",
                 "--field",
                 out("sub-1/fmap/sub-1_desc-preprocMeasured_fieldmap.nii.gz"),
                 raw("sub-1/func/sub-1_task-rest_bold.nii.gz"),
                 raw("sub-1/dwi/sub-1_dwi.nii.gz"),
                 raw("sub-1/func/sub-1_task-rest_sbref.nii.gz"),
                 "--reference",
                 raw("sub-1/fmap/sub-1_magnitude.nii.gz"),
                 "--align",
                 "--modulate",
                 "--no-report",
                 "-o",
                 folder.file("single")};
  words.insert(words.end(), options.begin(), options.end());
  ASSERT_EQ(runMirel(words).status, 0);
  auto found = results(out());
  EXPECT_EQ(found.erase("sub-1_desc-preprocMeasured_fieldmap.nii.gz"), 1U);
  auto wanted = results(folder.file("single"));
  wanted.erase("sub-1_task-rest_from-orig_to-sbrefref_mode-image_desc-hmc_xfm.txt");
  expectEqual(found, wanted);
  EXPECT_THAT(correctAll(options).err, counts(0, 3));
  EXPECT_THAT(correctAll({"--interpolation", "linear"}).err, counts(2, 1));
}

TEST_F(BidsRealign, MisuseIsAMatterOfOptions) {
  EXPECT_EQ(correctAll({"--realign-weighted"}).status, 2);
  EXPECT_THAT(correctAll({"--realign-weighted"}).err,
              HasSubstr("--realign-weighted requires --realign"));
  EXPECT_EQ(correctAll({"--interpolation", "sinc"}).status, 2);
  EXPECT_FALSE(isThere(""));
}

}  // namespace mirel

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "cli/correctpair.h"
#include "support/niftifiles.h"

namespace mirel {

// What "mirel correct" and "mirel apply" do with what stands in the output folder already, and what
// their records call the files that results were made of.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class EarlierResultsOf : public CorrectPair {
 protected:
  static std::string bold() { return input("sub-phantom_task-rest_dir-AP_bold.nii.gz"); }

  /// A and B, with their sidecars, under other names.
  void copyPair(const std::string& a, const std::string& b) const {
    for (const auto& [from, to] : {std::pair{"AP", a}, {"PA", b}})
      for (const char* end : {".nii.gz", ".json"}) {
        fs::create_directories(fs::path(file(to)).parent_path());
        fs::copy(input(std::string("sub-phantom_dir-") + from + "_epi" + end), file(to + end));
      }
  }
  /// The same, but the second image in the place of the first: another subject.
  void copyOther(const std::string& a, const std::string& b) const { copyPair(b, a); }

  ProgramResult run(const std::vector<std::string>& words) const {
    return runProgram(MIREL_PROGRAM, words, file(""));
  }
  ProgramResult fast(const std::string& a, const std::string& b, const std::string& where,
                     const std::vector<std::string>& options = {}) const {
    std::vector<std::string> words = {"correct", a + ".nii.gz", b + ".nii.gz", "--fast",
                                      "--quiet", "-o",          where};
    words.insert(words.end(), options.begin(), options.end());
    return run(words);
  }
  std::map<std::string, std::string> bytesIn(const std::string& where) const {
    std::map<std::string, std::string> bytes;
    for (const auto& entry : fs::directory_iterator(file(where)))
      // Reports tell the time; report_test.cpp holds the rest of them together.
      if (entry.is_regular_file() && entry.path().extension() != ".html")
        bytes[entry.path().filename().string()] = textOf(entry.path().string());
    return bytes;
  }
  json jsonOf(const std::string& name) const { return json::parse(std::ifstream(file(name))); }
};

TEST_F(EarlierResultsOf, ADatasetGetsNoDescriptionWithinIt) {
  copyPair("data/sub-1/fmap/sub-1_dir-AP_epi", "data/sub-1/fmap/sub-1_dir-PA_epi");
  niftifiles::writeText(file("data/dataset_description.json"), "{}");
  // The readout time is known at the dataset's root only.
  niftifiles::writeText(file("data/epi.json"), R"({"TotalReadoutTime": 0.04})");
  for (const char* direction : {"AP", "PA"})
    niftifiles::writeText(
        file(std::string("data/sub-1/fmap/sub-1_dir-") + direction + "_epi.json"),
        std::string(R"({"PhaseEncodingDirection": ")") + (*direction == 'A' ? "j-" : "j") + "\"}");
  const std::string a = "data/sub-1/fmap/sub-1_dir-AP_epi", b = "data/sub-1/fmap/sub-1_dir-PA_epi";
  for (const char* where : {"data/sub-1/fmap", "data/sub-1/fmap", "data/derivatives/mine"}) {
    const ProgramResult result = fast(a, b, where);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_FALSE(fs::exists(file(where + std::string("/dataset_description.json"))));
    EXPECT_TRUE(fs::exists(file(where + std::string("/sub-1_desc-preproc_fieldmap.nii.gz"))));
  }
}

TEST_F(EarlierResultsOf, AFolderAroundTheImagesIsNotDescribedEither) {
  copyPair("s1/AP", "s1/PA");
  ASSERT_EQ(fast("s1/AP", "s1/PA", ".").status, 0);
  EXPECT_FALSE(fs::exists(file("dataset_description.json")));
}

TEST_F(EarlierResultsOf, AFieldThatThisRunDoesNotMakeIsRemoved) {
  copyPair("AP", "PA");
  ASSERT_EQ(fast("AP", "PA", "out").status, 0);
  ASSERT_TRUE(fs::exists(out("AP_PA_desc-preproc_fieldmap.nii.gz")));
  fs::remove(file("AP.json"));
  fs::remove(file("PA.json"));
  const ProgramResult second =
      run({"correct", "AP.nii.gz", "PA.nii.gz", "--fast", "--pe-a", "j-", "-o", "out"});
  ASSERT_EQ(second.status, 0) << second.err;
  EXPECT_THAT(second.err, HasSubstr("Note: out/AP_PA_desc-preproc_fieldmap.nii.gz, the field in Hz "
                                    "of an earlier run of this pair, was removed"));
  EXPECT_THAT(namesInOut(), Each(Not(HasSubstr("fieldmap"))));
}

TEST_F(EarlierResultsOf, TheFieldOfAnotherPairStays) {
  copyPair("AP", "PA");
  ASSERT_EQ(fast("AP", "PA", "out").status, 0);
  const std::string field = textOf(out("AP_PA_desc-preproc_fieldmap.nii.gz"));
  copyOther("other/one", "other/two");
  fs::remove(file("other/one.json"));
  fs::remove(file("other/two.json"));
  ASSERT_EQ(fast("other/one", "other/two", "out", {"--pe-a", "j"}).status, 0);
  EXPECT_EQ(textOf(out("AP_PA_desc-preproc_fieldmap.nii.gz")), field);
}

TEST_F(EarlierResultsOf, ASeriesCorrectedWithOtherSettingsIsCalledOld) {
  ASSERT_EQ(correct({"--fast", "--quiet", "--apply", bold()}).status, 0);
  const ProgramResult same = correct({"--fast", "--quiet"});
  EXPECT_EQ(same.err, "");
  const ProgramResult other = correct({"--fast", "--quiet", "--modulate"});
  EXPECT_THAT(other.err,
              HasSubstr("Warning: " + out("sub-phantom_task-rest_dir-AP_desc-preproc_bold.nii.gz") +
                        " is old"));
}

TEST_F(EarlierResultsOf, TwoSubjectsInOneFolderKeepTheirResults) {
  copyPair("subj1_AP", "subj1_PA");
  copyOther("subj2_AP", "subj2_PA");
  ASSERT_EQ(fast("subj1_AP", "subj1_PA", "cohort").status, 0);
  const auto first = bytesIn("cohort");
  const ProgramResult second = fast("subj2_AP", "subj2_PA", "cohort");
  ASSERT_EQ(second.status, 0) << second.err;
  const auto both = bytesIn("cohort");
  for (const auto& [name, bytes] : first) EXPECT_TRUE(both.at(name) == bytes) << name;
  EXPECT_EQ(both.size(), 2 * first.size() - 1) << "one dataset_description.json";
}

TEST_F(EarlierResultsOf, NamesWithoutASubjectDoNotOverwriteAnotherSubjects) {
  copyPair("s1/AP", "s1/PA");
  copyOther("s2/AP", "s2/PA");
  ASSERT_EQ(fast("s1/AP", "s1/PA", "cohort").status, 0);
  const auto first = bytesIn("cohort");
  const ProgramResult second = fast("s2/AP", "s2/PA", "cohort");
  EXPECT_EQ(second.status, 1);
  EXPECT_THAT(second.err,
              AllOf(HasSubstr("Error: cohort/AP_desc-preproc.nii.gz is there already and was made "
                              "of other images or volumes (../s1/AP.nii.gz, ../s1/PA.nii.gz)"),
                    HasSubstr("--overwrite")));
  EXPECT_TRUE(bytesIn("cohort") == first);
  ASSERT_EQ(fast("s2/AP", "s2/PA", "cohort", {"--overwrite"}).status, 0);
  EXPECT_FALSE(bytesIn("cohort") == first);
}

TEST_F(EarlierResultsOf, TheSameCommandAgainGivesTheSameFiles) {
  copyPair("AP", "PA");
  fs::copy(bold(), file("run.nii.gz"));
  fs::copy(input("sub-phantom_task-rest_dir-AP_bold.json"), file("run.json"));
  const std::vector<std::string> options = {"--warp", "--apply", "run.nii.gz"};
  const ProgramResult once = fast("AP", "PA", "out", options);
  ASSERT_EQ(once.status, 0) << once.err;
  const auto first = bytesIn("out");
  const ProgramResult again = fast("AP", "PA", "out", options);
  ASSERT_EQ(again.status, 0) << again.err;
  EXPECT_EQ(again.err, once.err);
  EXPECT_TRUE(bytesIn("out") == first);
  // From another folder, and of copies elsewhere.
  const ProgramResult elsewhere = runProgram(
      MIREL_PROGRAM, {"correct", "../AP.nii.gz", "../PA.nii.gz", "--fast", "-o", "."}, out());
  EXPECT_EQ(elsewhere.status, 0) << elsewhere.err;
  copyPair("moved/AP", "moved/PA");
  const ProgramResult moved = fast("moved/AP", "moved/PA", "out");
  EXPECT_EQ(moved.status, 0) << moved.err;
}

TEST_F(EarlierResultsOf, OtherVolumesOfTheSameFileAreOtherInputs) {
  const auto corrected = [&](const std::vector<std::string>& volumes) {
    std::vector<std::string> words = {"correct",  bold(), pa(),     "--volume-b", "0",
                                      "--mean-b", "1",    "--fast", "-o",         "out"};
    words.insert(words.end(), volumes.begin(), volumes.end());
    return run(words);
  };
  ASSERT_EQ(corrected({"--volume", "1"}).status, 0);
  EXPECT_EQ(corrected({"--volume", "1"}).status, 0);
  for (const std::vector<std::string>& other :
       {std::vector<std::string>{"--volume", "2"}, {"--volume", "1", "--mean", "2"}}) {
    const ProgramResult refused = corrected(other);
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("was made of other images or volumes"));
  }
}

TEST_F(EarlierResultsOf, APairWhoseImagesChangePlacesIsTheSame) {
  copyPair("AP", "PA");
  ASSERT_EQ(fast("AP", "PA", "out").status, 0);
  const ProgramResult exchanged = fast("PA", "AP", "out");
  EXPECT_EQ(exchanged.status, 0);
  EXPECT_THAT(exchanged.err, HasSubstr("AP_desc-voxels_vdm.nii.gz is old"));
}

TEST_F(EarlierResultsOf, AFileOfUnknownOriginIsNotReplaced) {
  copyPair("AP", "PA");
  fs::create_directory(out());
  const std::string name = "AP_desc-voxels_vdm.nii.gz";
  niftifiles::writeText(out(name), "mine");
  const ProgramResult result = fast("AP", "PA", "out");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("out/" + name + " is there already, and no record"));
  EXPECT_THAT(namesInOut(), ElementsAre(name));
  EXPECT_EQ(textOf(out(name)), "mine");
  EXPECT_EQ(fast("AP", "PA", "out", {"--overwrite"}).status, 0);
}

TEST_F(EarlierResultsOf, AnAppliedFieldReplacesOnlyItsOwnResults) {
  const std::string field = input("sub-phantom_desc-truth_fieldmap.nii.gz");
  for (const std::string output : {"out", "clean.nii.gz"}) {
    const auto apply = [&](const std::vector<std::string>& more) {
      std::vector<std::string> words = {"apply", "--field", field, "--quiet", "-o", output};
      words.insert(words.end(), more.begin(), more.end());
      return run(words);
    };
    ASSERT_EQ(apply({bold(), "--warp"}).status, 0);
    EXPECT_EQ(apply({bold(), "--warp"}).status, 0);
    // The warp stays and is still that of the series; with modulation it would be, too, but is of
    // another run.
    EXPECT_EQ(apply({bold()}).err, "");
    EXPECT_THAT(apply({bold(), "--modulate"}).err, HasSubstr("_xfm.nii.gz is old"));
    if (output == "out") continue;
    const ProgramResult other = apply({ap()});
    EXPECT_EQ(other.status, 1);
    EXPECT_THAT(other.err, HasSubstr("clean.nii.gz is there already and was made of other images"));
    EXPECT_EQ(apply({ap(), "--overwrite"}).status, 0);
  }
}

TEST_F(EarlierResultsOf, SourcesAreUrisWhereADatasetIsKnown) {
  copyPair("data/sub-1/fmap/sub-1_dir-AP_epi", "data/sub-1/fmap/sub-1_dir-PA_epi");
  niftifiles::writeText(file("data/dataset_description.json"), "{}");
  const std::string a = "data/sub-1/fmap/sub-1_dir-AP_epi", b = "data/sub-1/fmap/sub-1_dir-PA_epi";
  const auto sources = [&](const std::string& where) {
    EXPECT_EQ(fast(a, b, where).status, 0);
    return jsonOf(where + "/sub-1_desc-preproc_fieldmap.json")["Sources"];
  };
  EXPECT_EQ(sources("data/derivatives/mine"), json({"bids::sub-1/fmap/sub-1_dir-AP_epi.nii.gz",
                                                    "bids::sub-1/fmap/sub-1_dir-PA_epi.nii.gz"}));
  const json linked = {"bids:raw:sub-1/fmap/sub-1_dir-AP_epi.nii.gz",
                       "bids:raw:sub-1/fmap/sub-1_dir-PA_epi.nii.gz"};
  EXPECT_EQ(sources("apart"), linked);
  EXPECT_EQ(jsonOf("apart/dataset_description.json")["DatasetLinks"], json({{"raw", "../data"}}));
  EXPECT_EQ(sources("apart"), linked) << "by the links that are there";
  niftifiles::writeText(file("dataset_description.json"), "{}");
  EXPECT_EQ(sources("plain"), json({"../data/sub-1/fmap/sub-1_dir-AP_epi.nii.gz",
                                    "../data/sub-1/fmap/sub-1_dir-PA_epi.nii.gz"}))
      << "in a dataset without links";
}

TEST_F(EarlierResultsOf, SourcesAreRelativeToTheRecordOtherwise) {
  copyPair("s1/AP", "s1/PA");
  ASSERT_EQ(fast("./s1/../s1/AP", file("s1/PA"), "a/b").status, 0);
  EXPECT_EQ(jsonOf("a/b/AP_desc-preproc.json")["Sources"],
            json({"../../s1/AP.nii.gz", "../../s1/PA.nii.gz"}));
}

TEST_F(EarlierResultsOf, EverySidecarSaysThatNoSkullWasStripped) {
  ASSERT_EQ(correct({"--fast", "--quiet", "--warp", "--apply", bold()}).status, 0);
  int seen = 0;
  for (const std::string& name : namesInOut())
    if (name.ends_with(".nii.gz")) {
      const json sidecar = jsonOf("out/" + name.substr(0, name.size() - 7) + ".json");
      EXPECT_EQ(sidecar["SkullStripped"], false) << name;
      ++seen;
    }
  EXPECT_EQ(seen, 10);
}

TEST_F(EarlierResultsOf, TheWarpOfASeriesComesWithItsSidecar) {
  ASSERT_EQ(correct({"--fast", "--quiet", "--warp", "--apply", bold()}).status, 0);
  ASSERT_EQ(run({"apply", "--field", out("sub-phantom_desc-preproc_fieldmap.nii.gz"), bold(),
                 "--warp", "--quiet", "-o", "applied"})
                .status,
            0);
  const std::string stem = "/sub-phantom_task-rest_dir-AP_from-orig_to-undistorted_mode-image_xfm";
  for (const char* where : {"out", "applied"}) {
    const json sidecar = jsonOf(where + stem + ".json");
    EXPECT_EQ(sidecar["Units"], "mm");
    EXPECT_THAT(sidecar["Description"], HasSubstr("Displacement field"));
    EXPECT_THAT(sidecar["Sources"][0], HasSubstr("sub-phantom_task-rest_dir-AP_bold.nii.gz"));
    EXPECT_TRUE(sidecar["Mirel"].contains("Series"));
  }
  EXPECT_TRUE(textOf(file("out" + stem + ".nii.gz")) == textOf(file("applied" + stem + ".nii.gz")));
}

}  // namespace

}  // namespace mirel

#include <map>
#include <nlohmann/json.hpp>

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

constexpr const char *bold = "sub-1/func/sub-1_task-rest_desc-preproc_bold",
                     *dwi = "sub-1/dwi/sub-1_desc-preproc_dwi",
                     *sbref = "sub-1/func/sub-1_task-rest_desc-preproc_sbref",
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
    return HasSubstr("Done: " + std::to_string(corrected) + " images corrected, " +
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
    return results(to);
  }
};

}  // namespace

TEST_F(BidsRealign, GivesTheBytesOfTheSingleCommand) {
  const Words options = {"--realign"};
  const ProgramResult result = correctAll(options);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(seriesIn(bold).at("Realignment").at("VolumesMoved"), 3);
  EXPECT_EQ(seriesIn(dwi).at("Realignment").at("VolumesBetween"), 1);
  EXPECT_EQ(seriesIn(sbref).at("Realignment").at("NotPossible"), "it has one volume");
  const auto found = results(out());
  EXPECT_EQ(found.count(fs::path(boldMotion).filename().string() + ".txt"), 1U);
  expectEqual(found, bySingleCommand(options));
}

TEST_F(BidsRealign, GivesItsBytesByAnotherInterpolationToo) {
  const Words options = {"--realign", "--realign-weighted", "--interpolation", "lanczos"};
  const ProgramResult result = correctAll(options);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(seriesIn(dwi).at("Realignment").at("WeightedVolumesToo"), true);
  EXPECT_EQ(seriesIn(bold).at("Alignment").at("Outcome"), "moved");
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
    const auto made = results(out());
    fs::remove_all(out());
    return made;
  };
  const auto one = withThreads("1");
  expectEqual(withThreads("5"), one);
}

}  // namespace mirel

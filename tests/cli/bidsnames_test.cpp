#include <nlohmann/json.hpp>
#include <regex>

#include "cli/bidsrules.h"
#include "cli/tinystudy.h"

namespace mirel {

// Every file of a derivative: its name by the rules, its sidecar's keys, and its sources. No
// validator of the standard that is in reach looks at these.

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

// What no rule knows: .bidsignore says so, too.
const std::regex withoutRule(
    R"(logs/.*|.*_report\.html|index\.html|group_corrected\.(tsv|json)|)"
    R"(.*_(vdm|xfm)\.(nii\.gz|json|txt)|.*_desc-[A-Za-z0-9]+_dwi\.(bval|bvec)|)"
    R"(dataset_description\.json|\.bidsignore)");
// Copies of raw files keep their names.
const std::regex copies(R"(.*/perf/.*_aslcontext\.tsv)");

class BidsNames : public TinyStudy {
 protected:
  void addSessionOfAllKinds() const {
    const std::string at = "sub-02/ses-a/", name = "sub-02_ses-a_",
                      asks = R"("B0FieldSource": "f")";
    const std::string timing = asks + R"(, "TaskName": "rest", "RepetitionTime": 2)";
    for (const auto& [dir, direction] : {std::pair("AP", "j-"), std::pair("PA", "j")})
      image("dir-" + std::string(dir) + "_epi",
            at + "fmap/" + name + "acq-hi_dir-" + dir + "_run-01_epi",
            sidecar(direction, R"("B0FieldIdentifier": "f")"));
    for (const char* series : {"task-rest_run-01_echo-1_bold", "task-rest_run-01_echo-2_bold",
                               "task-rest_acq-x_run-01_sbref", "task-rest_rec-b_part-mag_bold"})
      image("task-rest_dir-AP_bold", at + "func/" + name + series, sidecar("j-", timing));
    image("task-rest_dir-AP_bold", at + "perf/" + name + "run-1_asl",
          sidecar("j-", asks + perfusion));
    image("dir-AP_epi", at + "perf/" + name + "run-1_m0scan", sidecar("j-", asks));
    text(at + "perf/" + name + "run-1_aslcontext.tsv", "volume_type\ncontrol\nlabel\n");
  }
  void addDiffusionOfBothDirections() const {
    for (const char* dir : {"AP", "PA"}) {
      const std::string stem = "sub-03/dwi/sub-03_acq-b0_dir-" + std::string(dir) + "_dwi";
      image("dir-" + std::string(dir) + "_epi", stem, sidecar(*dir == 'A' ? "j-" : "j"));
      text(stem + ".bval", "0\n");
      text(stem + ".bvec", "0\n0\n0\n");
    }
  }
  static constexpr const char* perfusion =
      R"(, "MagneticFieldStrength": 3, "MRAcquisitionType": "2D",
      "ArterialSpinLabelingType": "PCASL", "PostLabelingDelay": 1.8, "BackgroundSuppression": false,
      "M0Type": "Separate", "TotalAcquiredPairs": 1, "RepetitionTimePreparation": 4)";

  std::vector<std::string> filesOfOutput() const {
    std::vector<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator(out()))
      if (entry.is_regular_file()) paths.push_back(entry.path().lexically_relative(out()).string());
    return paths;
  }
  bool isSource(const std::string& uri) const {
    if (uri.starts_with("bids:raw:")) return fs::exists(raw(uri.substr(9)));
    return uri.starts_with("bids::") && isThere(uri.substr(6));
  }
  void expectSidecar(const std::string& path, const std::string& suffix) const {
    const json sidecar = json::parse(textOf(out(path)));
    for (const std::string& key : bidsrules::requiredKeys(suffix))
      EXPECT_TRUE(sidecar.contains(key)) << path << " has no " << key;
    EXPECT_EQ(sidecar["SkullStripped"], false) << path;
    for (const json& source : sidecar["Sources"])
      EXPECT_TRUE(isSource(source)) << path << " is made of " << source;
    EXPECT_EQ(sidecar.value("Units", "none"), suffix == "fieldmap" ? "Hz" : "none") << path;
    EXPECT_TRUE(!sidecar.contains("PhaseEncodingDirection") ||
                sidecar.contains("DistortionCorrection"))
        << path << " may be corrected again without a warning";
  }
  int expectRules() const {
    int made = 0;
    for (const std::string& path : filesOfOutput()) {
      if (std::regex_match(path, withoutRule)) continue;
      if (std::regex_match(path, copies)) {
        EXPECT_EQ(textOf(out(path)), textOf(raw(path)));
        continue;
      }
      EXPECT_EQ(bidsrules::faultOfPath(path), "") << path;
      const std::string stem = path.substr(0, path.find('.'));
      EXPECT_TRUE(isThere(stem + ".nii.gz") && isThere(stem + ".json")) << path;
      if (!path.ends_with(".json")) continue;
      expectSidecar(path, stem.substr(stem.rfind('_') + 1));
      ++made;
    }
    return made;
  }
};

}  // namespace

TEST_F(BidsNames, OfEveryKindOfImageFollowTheRules) {
  addSessionOfAllKinds();
  addDiffusionOfBothDirections();
  const ProgramResult result = bids();
  ASSERT_EQ(result.status, 0) << result.out << result.err;
  ASSERT_EQ(runMirel({"bids", raw(), out(), "group"}).status, 0);
  EXPECT_EQ(expectRules(), 14) << "a pair with field and mean, six series, two dwi with theirs";
}

TEST_F(BidsNames, OfMotionAndOtherInterpolationDoSoToo) {
  addSessionOfAllKinds();
  addDiffusionOfBothDirections();
  const ProgramResult result = bids({"--realign", "--interpolation", "lanczos"});
  ASSERT_EQ(result.status, 0) << result.out << result.err;
  EXPECT_EQ(expectRules(), 16) << "those, and the means by cubic splines of two pairs";
}

}  // namespace mirel

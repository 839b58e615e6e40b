#include "cli/bidsrules.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>

#include "support/niftifiles.h"

namespace mirel {

using bidsrules::faultOfPath;
using testing::Contains;
using testing::HasSubstr;
using testing::IsSupersetOf;

namespace fs = std::filesystem;

TEST(BidsRules, RefuseWhatTheStandardDoesNotKnow) {
  EXPECT_EQ(faultOfPath("sub-01/ses-b/func/sub-01_ses-b_task-x_run-1_desc-preproc_bold.nii.gz"),
            "");
  const auto inFmap = [](const std::string& name) { return faultOfPath("sub-01/fmap/" + name); };
  EXPECT_EQ(inFmap("sub-01_acq-hi_dir-AP_run-01_desc-preproc_epi.json"), "");
  EXPECT_EQ(inFmap("sub-01_dir-AP_desc-preproc_fieldmap.nii.gz"), "has the entity dir");
  EXPECT_EQ(inFmap("sub-01_desc-preproc_epi.nii.gz"), "has no dir");
  EXPECT_EQ(inFmap("sub-01_dir-AP_epi.nii.gz"), "has the name of a raw file");
  EXPECT_EQ(inFmap("sub-01_dir-AP_desc-pre-proc_epi.json"), "has the label pre-proc");
  EXPECT_EQ(inFmap("sub-01_run-1_dir-AP_desc-preproc_epi.json"), "has dir twice or out of order");
  EXPECT_EQ(inFmap("sub-01_dir-AP_desc-voxels_vdm.json"), "has no rule for vdm in fmap");
  EXPECT_EQ(inFmap("sub-01_dir-AP_desc-preproc_epi.tsv"), "has another extension");
  EXPECT_THAT(inFmap("sub-02_dir-AP_desc-preproc_epi.json"), HasSubstr("another subject"));
  EXPECT_THAT(faultOfPath("sub-01/fmap/sub-01_ses-a_dir-AP_desc-preproc_epi.json"),
              HasSubstr("session"));
  EXPECT_EQ(faultOfPath("sub-01/func/sub-01_desc-preproc_bold.json"), "has no task");
  EXPECT_EQ(faultOfPath("sub-01/dwi/sub-01_ce-x_desc-preproc_dwi.json"), "has the entity ce");
}

namespace {

/// The lines of a rule in a file of the standard's schema: what is indented below "NAME:".
std::string blockOf(const std::string& text, const std::string& rule) {
  std::istringstream lines(text);
  std::string block;
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line[0] != ' ' && line[0] != '#') inside = line == rule + ":";
    if (inside) block += line + "\n";
  }
  return block;
}

/// The items "- ITEM" of a list in such a block.
std::vector<std::string> listIn(const std::string& block, const std::string& key) {
  std::istringstream lines(block);
  std::vector<std::string> items;
  bool inside = false;
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with("    - "))
      inside ? items.push_back(line.substr(6)) : void();
    else
      inside = line == "  " + key + ":";
  return items;
}

/// The schema of the standard, where it lies beside the real data.
class Schema : public testing::Test {
 protected:
  void SetUp() override {
    if (!fs::exists(folder())) GTEST_SKIP() << "no schema of BIDS (MIREL_TEST_DATA)";
  }
  static std::string folder() { return niftifiles::dataFolder() + "/../bids/schema/"; }
};

}  // namespace

TEST_F(Schema, HasTheRulesThatNamesAreTestedBy) {
  const std::string derived = textOf(folder() + "files-deriv-imaging.yaml");
  int compared = 0;
  for (const bidsrules::Rule& rule : bidsrules::rules()) {
    if (*rule.rawFile == '\0') continue;
    const std::string block = blockOf(textOf(folder() + rule.rawFile), rule.rawRule);
    EXPECT_THAT(listIn(block, "suffixes"), IsSupersetOf(rule.suffixes)) << rule.rawRule;
    EXPECT_THAT(listIn(block, "datatypes"), testing::ElementsAre(rule.datatype));
    EXPECT_THAT(listIn(block, "extensions"), IsSupersetOf({".nii.gz", ".json"}));
    EXPECT_THAT(derived, HasSubstr("rules.files.raw." + std::string(rule.datatype) + "." +
                                   rule.rawRule + "\n"));
    EXPECT_EQ(block.find("ceagent: null") == std::string::npos,
              testing::Value(rule.entities, Contains("ce")) || rule.suffixes[0] == "fieldmap");
    ++compared;
  }
  EXPECT_EQ(compared, 6);
}

TEST_F(Schema, RequiresTheKeysOfFieldMapsThatAreTestedFor) {
  const std::string sidecars = textOf(folder() + "sidecars-fmap.yaml");
  EXPECT_THAT(blockOf(sidecars, "MRIFieldmapPepolar"),
              HasSubstr("    PhaseEncodingDirection:\n      level: required\n"));
  EXPECT_THAT(blockOf(sidecars, "MRIFieldmapDirectFieldMapping"),
              HasSubstr("    Units:\n      level: required\n"));
}

}  // namespace mirel

// mirel phantom --bids: the layout of the dataset, as one who looks into the folder sees it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "cli/plainimage.h"
#include "cli/program.h"
#include "support/temporaryfolder.h"

namespace {

using namespace mirel;
namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

const std::vector<std::string> tiny = {"--size",  "16", "18",        "8",
                                       "--voxel", "14", "--volumes", "2"};

class PhantomDatasetRun : public testing::Test {
 protected:
  ProgramResult run(const std::vector<std::string>& more) const {
    std::vector<std::string> line = {"phantom", "--bids", folder.file("ds")};
    line.insert(line.end(), tiny.begin(), tiny.end());
    line.insert(line.end(), more.begin(), more.end());
    return runMirel(line);
  }
  json sidecar(const std::string& name) const {
    return json::parse(folder.read("ds/" + name + ".json"));
  }
  PlainImage image(const std::string& name) const {
    return PlainImage(folder.file("ds/" + name + ".nii.gz"));
  }
  // Images of the raw data, without ending.
  std::set<std::string> rawImages() const {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder.file("ds"))) {
      const std::string name = entry.path().lexically_relative(folder.file("ds")).string();
      if (name.starts_with("sub-") && name.ends_with(".nii.gz"))
        names.insert(name.substr(0, name.size() - 7));
    }
    return names;
  }

  TemporaryFolder folder;
};

TEST_F(PhantomDatasetRun, HasEveryKindOfImageAndSidecar) {
  const ProgramResult result = run({"--subjects", "4"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(rawImages(), (std::set<std::string>{"sub-01/fmap/sub-01_dir-AP_epi",
                                                "sub-01/fmap/sub-01_dir-PA_epi",
                                                "sub-01/func/sub-01_task-rest_dir-AP_bold",
                                                "sub-01/func/sub-01_task-rest_dir-AP_sbref",
                                                "sub-01/dwi/sub-01_dir-AP_dwi",
                                                "sub-02/fmap/sub-02_dir-RL_epi",
                                                "sub-02/fmap/sub-02_dir-LR_epi",
                                                "sub-02/func/sub-02_task-rest_dir-RL_bold",
                                                "sub-02/func/sub-02_task-rest_dir-RL_sbref",
                                                "sub-02/dwi/sub-02_dir-RL_dwi",
                                                "sub-02/dwi/sub-02_dir-LR_dwi",
                                                "sub-03/fmap/sub-03_dir-AP_epi",
                                                "sub-03/fmap/sub-03_dir-PA_epi",
                                                "sub-03/func/sub-03_task-rest_dir-PA_bold",
                                                "sub-03/func/sub-03_task-rest_dir-PA_sbref",
                                                "sub-03/dwi/sub-03_dir-AP_dwi",
                                                "sub-04/fmap/sub-04_dir-RL_epi",
                                                "sub-04/fmap/sub-04_dir-LR_epi",
                                                "sub-04/func/sub-04_task-rest_dir-LR_bold",
                                                "sub-04/func/sub-04_task-rest_dir-LR_sbref",
                                                "sub-04/dwi/sub-04_dir-RL_dwi"}));
  const std::map<std::string, std::string> codes = {
      {"AP", "j-"}, {"PA", "j"}, {"RL", "i-"}, {"LR", "i"}};
  for (const std::string& name : rawImages()) {
    const json fields = sidecar(name);
    EXPECT_EQ(fields["PhaseEncodingDirection"], codes.at(name.substr(name.find("dir-") + 4, 2)));
    for (const char* key : {"TotalReadoutTime", "EffectiveEchoSpacing", "RepetitionTime",
                            "EchoTime", "AcquisitionTime", "ShimSetting"})
      EXPECT_TRUE(fields.contains(key)) << name << " " << key;
    EXPECT_EQ(fields.contains("TaskName"), name.find("/func/") != std::string::npos) << name;
  }
}

TEST_F(PhantomDatasetRun, LinksByEachOfTheFourWays) {
  ASSERT_EQ(run({"--subjects", "4", "--sessions", "1"}).status, 0);
  const json one = sidecar("sub-01/ses-01/fmap/sub-01_ses-01_dir-PA_epi");
  EXPECT_FALSE(one.contains("IntendedFor"));
  for (const char* name :
       {"func/sub-01_ses-01_task-rest_dir-AP_sbref", "func/sub-01_ses-01_task-rest_dir-AP_bold",
        "dwi/sub-01_ses-01_dir-AP_dwi"})
    EXPECT_EQ(sidecar(std::string("sub-01/ses-01/") + name)["B0FieldSource"],
              one["B0FieldIdentifier"]);
  const json two = sidecar("sub-02/ses-01/fmap/sub-02_ses-01_dir-LR_epi");
  EXPECT_FALSE(two.contains("B0FieldIdentifier"));
  ASSERT_EQ(two["IntendedFor"].size(), 4u);
  for (const std::string target : two["IntendedFor"]) {
    ASSERT_THAT(target, testing::StartsWith("bids::sub-02/ses-01/"));
    EXPECT_TRUE(folder.exists("ds/" + target.substr(6))) << target;
  }
  const json three = sidecar("sub-03/ses-01/fmap/sub-03_ses-01_dir-AP_epi");
  ASSERT_EQ(three["IntendedFor"].size(), 3u);
  for (const std::string target : three["IntendedFor"]) {
    ASSERT_THAT(target, testing::StartsWith("ses-01/"));
    EXPECT_TRUE(folder.exists("ds/sub-03/" + target)) << target;
  }
  for (const std::string& name : rawImages()) {
    if (!name.starts_with("sub-04")) continue;
    for (const char* key : {"IntendedFor", "B0FieldIdentifier", "B0FieldSource"})
      EXPECT_FALSE(sidecar(name).contains(key)) << name;
  }
}

TEST_F(PhantomDatasetRun, GradientsHaveAnEntryPerVolumeAndSeveralWithoutWeighting) {
  ASSERT_EQ(run({"--subjects", "2"}).status, 0);
  for (const std::string name : {"sub-01/dwi/sub-01_dir-AP_dwi", "sub-02/dwi/sub-02_dir-LR_dwi"}) {
    std::istringstream is(folder.read("ds/" + name + ".bval"));
    int count = 0, unweighted = 0;
    for (double b = 0.0; is >> b; ++count) unweighted += b == 0.0;
    EXPECT_EQ(count, image(name).dim(4)) << name;
    EXPECT_EQ(unweighted, name.starts_with("sub-01") ? 3 : 2) << name;
    EXPECT_TRUE(folder.exists("ds/" + name + ".bvec"));
  }
}

TEST_F(PhantomDatasetRun, TheRootSaysWhatThereIs) {
  ASSERT_EQ(run({"--subjects", "2", "--seed", "5"}).status, 0);
  EXPECT_EQ(sidecar("dataset_description")["DatasetType"], "raw");
  const json truth = sidecar("derivatives/truth/dataset_description");
  EXPECT_EQ(truth["DatasetType"], "derivative");
  EXPECT_EQ(truth["GeneratedBy"][0]["Name"], "mirel phantom");
  EXPECT_EQ(folder.read("ds/participants.tsv"),
            "participant_id\tlink\tphase_encoding_axis\tseed\n"
            "sub-01\tB0FieldIdentifier\tj\t5\n"
            "sub-02\tIntendedFor-uri\ti\t6\n");
  const std::string readme = folder.read("ds/README");
  EXPECT_THAT(readme, HasSubstr("sub-01: B0FieldIdentifier in the pair"));
  EXPECT_THAT(readme, HasSubstr("Pair RL/LR (i-, i) of 0.055 s, bold RL of 0.04125 s"));
}

// The pair takes the distortion of the series out, although their readout times differ.
TEST_F(PhantomDatasetRun, ThePairCorrectsTheSeriesOfItsSession) {
  ASSERT_EQ(runMirel({"phantom", "--bids", folder.file("ds"), "--subjects", "1"}).status, 0);
  const std::string raw = folder.file("ds/sub-01/");
  const ProgramResult corrected = runMirel(
      {"correct", raw + "fmap/sub-01_dir-AP_epi.nii.gz", raw + "fmap/sub-01_dir-PA_epi.nii.gz",
       "--apply", raw + "func/sub-01_task-rest_dir-AP_bold.nii.gz", "-o", folder.file("out")});
  ASSERT_EQ(corrected.status, 0) << corrected.err;
  EXPECT_EQ(corrected.err.find("Warning"), std::string::npos) << corrected.err;
  const std::string truth = "derivatives/truth/sub-01/";
  const std::vector<float> mask = image(truth + "fmap/sub-01_desc-brain_mask").values();
  const std::vector<float> expected =
      image(truth + "func/sub-01_task-rest_dir-AP_desc-undistorted_bold").values();
  const auto differenceOf = [&](const PlainImage& series) {
    const std::vector<float> values = series.values();
    double sum = 0.0;
    for (std::size_t i = 0; i < mask.size(); ++i)
      if (mask[i] > 0) sum += std::abs(values[i] - expected[i]);
    return sum;
  };
  const PlainImage after(folder.file("out/sub-01_task-rest_dir-AP_desc-preproc_bold.nii.gz"));
  EXPECT_LT(differenceOf(after),
            0.6 * differenceOf(image("sub-01/func/sub-01_task-rest_dir-AP_bold")));
}

TEST_F(PhantomDatasetRun, AFolderWithOtherFilesIsRefused) {
  fs::create_directory(folder.file("ds"));
  folder.write("ds/mine.txt", "mine");
  const ProgramResult result = run({"--subjects", "1"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Error: the folder " + folder.file("ds") +
                            " holds something else than a dataset of phantoms: give one that is "
                            "empty or does not exist\n");
  EXPECT_EQ(folder.read("ds/mine.txt"), "mine");
}

TEST_F(PhantomDatasetRun, OptionsOfTheOtherKindAreRefused) {
  EXPECT_EQ(run({"--direction", "i"}).status, 2);
  EXPECT_EQ(run({"--motion", "1", "0", "0", "0", "0", "0"}).status, 2);
  EXPECT_EQ(run({"--subjects", "0"}).status, 2);
  EXPECT_EQ(runMirel({"phantom", folder.file("ds"), "--subjects", "2"}).status, 2);
  EXPECT_EQ(runMirel({"phantom", folder.file("ds"), "--sessions", "2"}).status, 2);
  EXPECT_FALSE(folder.exists("ds"));
}

}  // namespace

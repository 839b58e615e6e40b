#include "phantom/phantomdataset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>

#include "base/error.h"
#include "nifti/image.h"
#include "support/messageof.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

PhantomDatasetOptions tinyOptions(int subjects) {
  PhantomDatasetOptions options;
  options.subjects = subjects;
  options.image.size = {16, 18, 8};
  options.image.voxelMm = {14.0, 14.0, 18.0};
  options.image.maxShiftVoxels = 1.5;
  options.image.volumes = 2;
  options.programVersion = "1.2.3";
  return options;
}

// As the cells that a distortion moves.
Volume<float> repeated(const Volume<float>& image) {
  constexpr int cells = HeadObject::cellsPerVoxel;
  Volume<float> density(cells * image.nx(), cells * image.ny(), image.nz());
  for (int z = 0; z < density.nz(); ++z)
    for (int y = 0; y < density.ny(); ++y)
      for (int x = 0; x < density.nx(); ++x)
        density.at(x, y, z) = image.at(x / cells, y / cells, z);
  return density;
}

class PhantomDatasetTest : public testing::Test {
 protected:
  std::string file(const std::string& name) const { return folder.file("ds/" + name); }
  void write(const PhantomDatasetOptions& options) const {
    writePhantomDataset(options, folder.file("ds"));
  }
  std::string refusal(const PhantomDatasetOptions& options) const {
    return messageOf<Error>([&] { write(options); });
  }
  nlohmann::json json(const std::string& name) const {
    return nlohmann::json::parse(textOf(file(name)));
  }
  Volume<float> image(const std::string& name, int volume = 0) const {
    return nifti::Reader(file(name)).readVolume(volume);
  }
  std::map<std::string, std::string> contents(const std::string& name) const {
    std::map<std::string, std::string> result;
    for (const auto& entry : fs::recursive_directory_iterator(folder.file(name)))
      if (entry.is_regular_file())
        result[entry.path().lexically_relative(folder.file(name)).string()] =
            textOf(entry.path().string());
    return result;
  }

  TemporaryFolder folder;
};

// Each image is the undistorted one, moved by its own displacement.
TEST_F(PhantomDatasetTest, TheTruthMakesTheImagesAgain) {
  PhantomDatasetOptions options = tinyOptions(2);
  options.image.noise = 0.0;
  write(options);
  const auto expectTruth = [&](const std::string& scan, const std::string& raw,
                               const std::string& undistorted, PhaseEncodingAxis axis, int t) {
    const std::string truth = "derivatives/truth/";
    const Volume<float> d = image(truth + scan + "_desc-truth_displacement.nii.gz");
    const Volume<float> still = image(truth + undistorted, t), moved = image(raw, t);
    const Volume<float> expected = distort(repeated(still), d, axis, HeadObject::cellsPerVoxel);
    double difference = 0.0, size = 0.0, unmoved = 0.0;
    for (int i = 0; i < moved.size(); ++i) {
      difference += std::abs(moved.data()[i] - expected.data()[i]);
      unmoved += std::abs(moved.data()[i] - still.data()[i]);
      size += expected.data()[i];
    }
    EXPECT_LT(difference / size, 0.08) << raw;
    EXPECT_LT(difference, 0.5 * unmoved) << raw;
  };
  expectTruth("sub-01/fmap/sub-01_dir-AP", "sub-01/fmap/sub-01_dir-AP_epi.nii.gz",
              "sub-01/fmap/sub-01_desc-truth_magnitude.nii.gz", PhaseEncodingAxis::y, 0);
  expectTruth("sub-02/fmap/sub-02_dir-LR", "sub-02/fmap/sub-02_dir-LR_epi.nii.gz",
              "sub-02/fmap/sub-02_desc-truth_magnitude.nii.gz", PhaseEncodingAxis::x, 0);
  expectTruth(
      "sub-01/func/sub-01_task-rest_dir-AP", "sub-01/func/sub-01_task-rest_dir-AP_bold.nii.gz",
      "sub-01/func/sub-01_task-rest_dir-AP_desc-undistorted_bold.nii.gz", PhaseEncodingAxis::y, 1);
  expectTruth("sub-02/dwi/sub-02_dir-RL", "sub-02/dwi/sub-02_dir-RL_dwi.nii.gz",
              "sub-02/dwi/sub-02_dir-RL_desc-undistorted_dwi.nii.gz", PhaseEncodingAxis::x, 3);
}

TEST_F(PhantomDatasetTest, DisplacementsAreTheFieldTimesTheReadoutOfEachImage) {
  write(tinyOptions(3));
  const Volume<float> hz = image("derivatives/truth/sub-03/fmap/sub-03_desc-truth_fieldmap.nii.gz");
  for (const std::string scan : {"fmap/sub-03_dir-AP_epi", "fmap/sub-03_dir-PA_epi",
                                 "func/sub-03_task-rest_dir-PA_bold", "dwi/sub-03_dir-AP_dwi"}) {
    const nlohmann::json sidecar = json("sub-03/" + scan + ".json");
    const double sign = sidecar["PhaseEncodingDirection"] == "j" ? 1.0 : -1.0;
    const double readout = sidecar["TotalReadoutTime"];
    EXPECT_DOUBLE_EQ(sidecar["EffectiveEchoSpacing"].get<double>() * 17, readout);
    const std::string stem = scan.substr(0, scan.rfind('_'));
    const Volume<float> d =
        image("derivatives/truth/sub-03/" + stem + "_desc-truth_displacement.nii.gz");
    for (int i = 0; i < d.size(); ++i)
      ASSERT_NEAR(d.data()[i], sign * readout * hz.data()[i], 1e-5) << scan;
  }
}

TEST_F(PhantomDatasetTest, EqualOptionsMakeEqualFilesAndReplaceThem) {
  write(tinyOptions(2));
  const auto first = contents("ds");
  EXPECT_EQ(first.size(), 7u + 36u + 46u);  // the second subject has more dwi
  write(tinyOptions(2));
  EXPECT_EQ(contents("ds"), first);
  PhantomDatasetOptions other = tinyOptions(2);
  other.image.seed = 2;
  write(other);
  const auto second = contents("ds");
  EXPECT_EQ(second.size(), first.size());
  EXPECT_NE(second.at("sub-01/fmap/sub-01_dir-AP_epi.nii.gz"),
            first.at("sub-01/fmap/sub-01_dir-AP_epi.nii.gz"));
  EXPECT_EQ(folder.names(), std::vector<std::string>{"ds"});
}

TEST_F(PhantomDatasetTest, SubjectsAndSessionsDiffer) {
  PhantomDatasetOptions options = tinyOptions(3);
  options.sessions = 2;
  write(options);
  const std::string one = textOf(file("sub-01/ses-01/fmap/sub-01_ses-01_dir-AP_epi.nii.gz"));
  EXPECT_NE(one, textOf(file("sub-01/ses-02/fmap/sub-01_ses-02_dir-AP_epi.nii.gz")));
  EXPECT_NE(one, textOf(file("sub-03/ses-01/fmap/sub-03_ses-01_dir-AP_epi.nii.gz")));
  const nlohmann::json first = json("sub-01/ses-01/fmap/sub-01_ses-01_dir-AP_epi.json");
  const nlohmann::json series = json("sub-01/ses-01/func/sub-01_ses-01_task-rest_dir-AP_bold.json");
  const nlohmann::json later = json("sub-01/ses-02/fmap/sub-01_ses-02_dir-AP_epi.json");
  EXPECT_EQ(first["ShimSetting"], series["ShimSetting"]);
  EXPECT_NE(first["ShimSetting"], later["ShimSetting"]);
  EXPECT_LT(first["AcquisitionTime"], series["AcquisitionTime"]);
  EXPECT_EQ(first["B0FieldIdentifier"], series["B0FieldSource"]);
  EXPECT_NE(first["B0FieldIdentifier"], later["B0FieldIdentifier"]);
}

TEST_F(PhantomDatasetTest, AFolderWithAnythingElseIsRefusedAndStaysAsItWas) {
  fs::create_directories(folder.file("ds/sub-01"));
  folder.write("ds/notes.txt", "mine");
  EXPECT_THAT(refusal(tinyOptions(1)), HasSubstr("holds something else"));
  EXPECT_EQ(contents("ds").size(), 1u);
  folder.write("ds/dataset_description.json", R"({"Name": "Mine", "BIDSVersion": "1.8.0"})");
  EXPECT_THAT(refusal(tinyOptions(1)), HasSubstr("holds something else"));
  folder.write("ds/dataset_description.json", "{ no JSON");
  EXPECT_THAT(refusal(tinyOptions(1)), HasSubstr("holds something else"));
  EXPECT_EQ(contents("ds").size(), 2u);
}

TEST_F(PhantomDatasetTest, AnEarlierDatasetWithMoreInItIsRefusedAndStaysAsItWas) {
  write(tinyOptions(2));
  const auto before = contents("ds");
  EXPECT_THAT(refusal(tinyOptions(1)), HasSubstr("ds/derivatives/truth/sub-02 is not of the"));
  EXPECT_EQ(contents("ds"), before);
  fs::create_directories(folder.file("ds/derivatives/results"));
  EXPECT_THAT(refusal(tinyOptions(2)), HasSubstr("ds/derivatives/results is not of the"));
  EXPECT_EQ(contents("ds"), before);
  EXPECT_TRUE(fs::is_directory(folder.file("ds/derivatives/results")));
}

TEST_F(PhantomDatasetTest, OptionsThatMakeNoSenseLeaveNoFolder) {
  PhantomDatasetOptions options = tinyOptions(0);
  EXPECT_THROW(write(options), std::invalid_argument);
  options = tinyOptions(1);
  options.image.size.x = 0;
  EXPECT_THROW(write(options), std::invalid_argument);
  options = tinyOptions(1);
  options.image.noise = -1.0;
  EXPECT_THROW(write(options), std::invalid_argument);
  EXPECT_TRUE(folder.names().empty());
}

}  // namespace

}  // namespace mirel

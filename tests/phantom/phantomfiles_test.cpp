#include "phantom/phantomfiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "files/myfmr.h"
#include "nifti/image.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

PhantomOptions tinyOptions() {
  PhantomOptions options;
  options.size = {10, 12, 5};
  options.voxelMm = {20.0, 21.0, 28.0};
  options.volumes = 2;
  return options;
}

nlohmann::json jsonOf(const std::string& fileName) {
  return nlohmann::json::parse(textOf(fileName));
}

class PhantomFilesTest : public testing::Test {
 protected:
  std::string file(const std::string& name) const { return folder.file("out/sub-phantom_" + name); }
  std::vector<std::string> write(const PhantomOptions& options) const {
    return writePhantom(makePhantom(options), folder.file("out"));
  }
  static Volume<float> read(const std::string& name) { return nifti::Reader(name).readVolume(0); }

  TemporaryFolder folder;
};

TEST_F(PhantomFilesTest, ListsExactlyTheFilesThatItLeaves) {
  const std::vector<std::string> written = write(tinyOptions());
  std::size_t found = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.file("out"))) {
    ++found;
    EXPECT_NE(std::find(written.begin(), written.end(), entry.path().string()), written.end())
        << entry.path();
  }
  EXPECT_EQ(found, written.size());
  EXPECT_EQ(found, 25u);
}

TEST_F(PhantomFilesTest, ImagesComeBackRoundedToIntegers) {
  const Phantom phantom = makePhantom(tinyOptions());
  writePhantom(phantom, folder.file("out"));
  const auto expectRounded = [](const Volume<float>& read, const Volume<float>& made) {
    ASSERT_EQ(read.dimensions(), made.dimensions());
    for (int i = 0; i < made.size(); ++i) EXPECT_EQ(read.data()[i], std::nearbyint(made.data()[i]));
  };
  expectRounded(read(file("dir-AP_epi.nii.gz")), phantom.ap);
  expectRounded(read(file("dir-PA_epi.nii.gz")), phantom.pa);
  const FMR project(file("dir-AP_epi.fmr"), /*loadData=*/true);
  ASSERT_EQ(project.stcData.size(), 1u);
  expectRounded(project.stcData[0], phantom.ap);
  const FMR series(file("task-rest_dir-AP_bold.fmr"), /*loadData=*/true);
  ASSERT_EQ(series.stcData.size(), 2u);
  expectRounded(series.stcData[1], phantom.seriesVolume(1));
}

TEST_F(PhantomFilesTest, TruthComesBackExactly) {
  const Phantom phantom = makePhantom(tinyOptions());
  writePhantom(phantom, folder.file("out"));
  EXPECT_TRUE(read(file("desc-undistorted_epi.nii.gz")) == phantom.truth);
  EXPECT_TRUE(read(file("desc-truth_displacement.nii.gz")) == phantom.shiftVoxels);
  EXPECT_TRUE(read(file("desc-truth_fieldmap.nii.gz")) == phantom.fieldHz);
  const Volume<float> mask = read(file("desc-brain_mask.nii.gz"));
  for (int i = 0; i < mask.size(); ++i) EXPECT_EQ(mask.data()[i], phantom.brainMask.data()[i]);
}

TEST_F(PhantomFilesTest, SidecarsTellDirectionAndReadout) {
  PhantomOptions options = tinyOptions();
  options.readoutSeconds = 0.033;
  write(options);
  const nlohmann::json ap = jsonOf(file("dir-AP_epi.json")), pa = jsonOf(file("dir-PA_epi.json"));
  EXPECT_EQ(ap["PhaseEncodingDirection"], "j-");
  EXPECT_EQ(pa["PhaseEncodingDirection"], "j");
  EXPECT_EQ(jsonOf(file("task-rest_dir-AP_bold.json"))["PhaseEncodingDirection"], "j-");
  EXPECT_EQ(ap["TotalReadoutTime"], 0.033);
  EXPECT_DOUBLE_EQ(ap["EffectiveEchoSpacing"].get<double>() * 11, 0.033);
  EXPECT_EQ(ap["IntendedFor"], "sub-phantom_task-rest_dir-AP_bold.nii.gz");
  EXPECT_EQ(jsonOf(file("desc-truth_fieldmap.json"))["Units"], "Hz");
}

// true(y) = I(y + s f T) (1 + s d(f T)/dy) with s = +1 for "j" and -1 for "j-": in the files, the
// displacement s f T of each image is the map's, forward for the one and reverse for the other.
TEST_F(PhantomFilesTest, FieldReadoutAndDirectionGiveTheDisplacement) {
  write(tinyOptions());
  const Volume<float> hz = read(file("desc-truth_fieldmap.nii.gz"));
  const Volume<float> map = read(file("desc-truth_displacement.nii.gz"));
  const double readout = jsonOf(file("dir-AP_epi.json"))["TotalReadoutTime"];
  const double sign = jsonOf(file("dir-AP_epi.json"))["PhaseEncodingDirection"] == "j" ? 1.0 : -1.0;
  float largest = 0.0F;
  for (int i = 0; i < map.size(); ++i) {
    EXPECT_NEAR(map.data()[i], sign * readout * hz.data()[i], 1e-6);
    largest = std::max(largest, std::abs(map.data()[i]));
  }
  EXPECT_GT(largest, 0.3F);
}

TEST_F(PhantomFilesTest, GeometryIsCentredAndInPatientAxes) {
  write(tinyOptions());
  const nifti::Reader image(file("dir-PA_epi.nii.gz"));
  const glm::dmat4 affine = image.header().affine();
  EXPECT_EQ(affine[0][0], 20.0);
  EXPECT_EQ(affine[1][1], 21.0);
  EXPECT_EQ(affine[2][2], 28.0);
  const glm::dvec4 centre = affine * glm::dvec4(4.5, 5.5, 2.0, 1.0);
  for (int axis = 0; axis < 3; ++axis) EXPECT_NEAR(centre[axis], 0.0, 1e-4);
}

TEST_F(PhantomFilesTest, AlongXThePairIsCalledByLeftAndRight) {
  PhantomOptions options = tinyOptions();
  options.axis = PhaseEncodingAxis::x;
  options.volumes = 0;
  const std::vector<std::string> written = write(options);
  EXPECT_EQ(written.size(), 20u);  // no series
  EXPECT_EQ(jsonOf(file("dir-RL_epi.json"))["PhaseEncodingDirection"], "i-");
  EXPECT_EQ(jsonOf(file("dir-LR_epi.json"))["PhaseEncodingDirection"], "i");
  EXPECT_FALSE(jsonOf(file("dir-RL_epi.json")).contains("IntendedFor"));
}

TEST_F(PhantomFilesTest, WithMotionTheMovedTruthIsWrittenToo) {
  PhantomOptions options = tinyOptions();
  options.paMotion.rotationDegrees.z = 5.0;
  const Phantom phantom = makePhantom(options);
  writePhantom(phantom, folder.file("out"));
  EXPECT_TRUE(read(file("desc-moved_epi.nii.gz")) == phantom.paTruth);
  EXPECT_TRUE(read(file("desc-moved_displacement.nii.gz")) == phantom.paShiftVoxels);
  EXPECT_EQ(jsonOf(file("desc-truth_displacement.json"))["PARotationDegrees"][2], 5.0);
}

TEST_F(PhantomFilesTest, EqualOptionsMakeEqualBytesAndReplaceOlderFiles) {
  PhantomOptions options = tinyOptions();
  options.seed = 5;
  write(options);
  const std::string other = textOf(file("dir-AP_epi.nii.gz"));
  options.seed = 1;
  const std::vector<std::string> first = write(options);
  EXPECT_NE(textOf(file("dir-AP_epi.nii.gz")), other);
  const std::vector<std::string> second =
      writePhantom(makePhantom(options), folder.file("elsewhere/deep"));
  ASSERT_EQ(first.size(), second.size());
  for (std::size_t i = 0; i < first.size(); ++i)
    EXPECT_EQ(textOf(first[i]), textOf(second[i])) << first[i];
}

TEST_F(PhantomFilesTest, AFolderThatCannotBeMadeIsNamed) {
  std::ofstream(folder.file("plain")) << "a file";
  try {
    writePhantom(makePhantom(tinyOptions()), folder.file("plain/sub"));
    FAIL() << "no error";
  } catch (const std::exception& failure) {
    EXPECT_NE(std::string(failure.what()).find("plain/sub"), std::string::npos) << failure.what();
  }
}

}  // namespace

}  // namespace mirel

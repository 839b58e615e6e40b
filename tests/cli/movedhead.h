#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/motionforms.h"
#include "cli/program.h"
#include "nifti/image.h"
#include "support/temporaryfolder.h"

namespace mirel {

using motionforms::Motions;
using testing::HasSubstr;

inline const motionforms::GridSize grid{{40, 48, 28}, {4.5, 4.5, 4.5}};
inline const Motions motions = {
    {}, {{1.5, -1, 2}, {2, -1.5, 3}}, {{-2, 2.5, -1}, {-3, 2, -2}}, {{0, 3, 0}, {0, 0, 8}}};
inline const char* const seriesName = "sub-phantom_task-rest_dir-AP_bold";

/// A simulated head that moves within a series, made once.
class MovedHead : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    inputs = std::make_unique<TemporaryFolder>();
    inputs->write("motion.txt", motionforms::phantomRows(motions));
    const ProgramResult made =
        runMirel({"phantom", inputs->file("head"), "--size", "40", "48", "28", "--voxel", "4.5",
                  "--readout", "0.04", "--max-shift", "3", "--noise", "0.01", "--volumes", "4",
                  "--volume-motion", inputs->file("motion.txt")});
    ASSERT_EQ(made.status, 0) << made.err;
  }
  static void TearDownTestSuite() { inputs.reset(); }

  static std::string head(const std::string& file) { return inputs->file("head/" + file); }
  static std::string series() { return head(std::string(seriesName) + ".nii.gz"); }
  static std::string truth() { return head("sub-phantom_desc-undistorted_epi.nii.gz"); }
  std::string file(const std::string& what) const { return folder.file(what); }

  /// The series corrected with the true field and more options, as r.nii.gz.
  ProgramResult apply(const std::vector<std::string>& more) const {
    std::vector<std::string> words = {
        "apply",      "--field",    head("sub-phantom_desc-truth_fieldmap.nii.gz"),
        series(),     "-o",         file("r.nii.gz"),
        "--float",    "--modulate", "--no-report",
        "--overwrite"};
    words.insert(words.end(), more.begin(), more.end());
    return runMirel(words);
  }

  static std::vector<Volume<float>> volumesIn(const std::string& image) {
    nifti::Reader reader(image);
    std::vector<Volume<float>> volumes;
    for (int t = 0; t < reader.header().volumes; ++t) volumes.push_back(reader.readVolume(t));
    return volumes;
  }

  /// In the brain, without that of its borders in z.
  static double rms(const Volume<float>& a, const Volume<float>& b) {
    const Volume<float> brain =
        nifti::Reader(head("sub-phantom_desc-brain_mask.nii.gz")).readVolume(0);
    double sum = 0, count = 0;
    for (int n = 0; n < a.size(); ++n) {
      if (brain.data()[n] == 0.0f) continue;
      const double off = static_cast<double>(a.data()[n]) - static_cast<double>(b.data()[n]);
      sum += off * off;
      ++count;
    }
    return std::sqrt(sum / count);
  }

  std::vector<Volume<float>> corrected(const std::vector<std::string>& more) const {
    const ProgramResult result = apply(more);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.err, testing::Not(HasSubstr("CHECK"))) << result.err;
    return volumesIn(file("r.nii.gz"));
  }

  std::string fslFolder(const Motions& moved) const {
    std::filesystem::create_directory(file("mc.mat"));
    for (std::size_t t = 0; t < moved.size(); ++t)
      folder.write("mc.mat/MAT_000" + std::to_string(t), motionforms::fslMatrix(moved[t], grid));
    return file("mc.mat");
  }

  TemporaryFolder folder;
  static inline std::unique_ptr<TemporaryFolder> inputs;
};

}  // namespace mirel

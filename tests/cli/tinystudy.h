#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/program.h"
#include "support/temporaryfolder.h"

namespace mirel {

/// Datasets of simulated heads, whose images are made once by "mirel phantom", and a folder of its
/// own for each test.
class TinyStudy : public testing::Test {
 protected:
  static void SetUpTestSuite() { makeImages({"--volumes", "2"}); }
  static void makeImages(const std::vector<std::string>& options) {
    images = std::make_unique<TemporaryFolder>();
    std::vector<std::string> words = {
        "phantom", images->file(""), "--size", "24",          "28", "16", "--voxel",
        "8",       "--readout",      "0.04",   "--max-shift", "2"};
    words.insert(words.end(), options.begin(), options.end());
    const ProgramResult made = runMirel(words);
    ASSERT_EQ(made.status, 0) << made.err;
  }
  static void TearDownTestSuite() { images.reset(); }

  void SetUp() override {
    text("dataset_description.json", R"({"Name": "tiny", "BIDSVersion": "1.8.0"})");
  }

  std::string raw(const std::string& path = "") const { return folder.file("raw/" + path); }
  std::string out(const std::string& path = "") const { return folder.file("out/" + path); }

  void text(const std::string& path, const std::string& content) const {
    std::filesystem::create_directories(std::filesystem::path(raw(path)).parent_path());
    folder.write("raw/" + path, content);
  }

  /// An image of the phantom ("dir-AP_epi", "dir-PA_epi", "task-rest_dir-AP_bold") under the name
  /// STEM.nii.gz, with a sidecar of its own.
  void image(const std::string& of, const std::string& stem, const std::string& sidecar) const {
    text(stem + ".json", sidecar);
    std::filesystem::copy(images->file("sub-phantom_" + of + ".nii.gz"), raw(stem + ".nii.gz"));
  }

  static std::string sidecar(const std::string& direction, const std::string& more = "") {
    return R"({"PhaseEncodingDirection": ")" + direction + R"(", "TotalReadoutTime": 0.04)" +
           (more.empty() ? "" : ", " + more) + "}";
  }

  /// A pair and a series, linked by IntendedFor.
  void subject(const std::string& label) const {
    const std::string name = "sub-" + label, fmap = name + "/fmap/" + name;
    const std::string bold = name + "_task-rest_bold";
    const std::string intent =
        R"("IntendedFor": ["bids::)" + name + "/func/" + bold + R"(.nii.gz"])";
    image("dir-AP_epi", fmap + "_dir-AP_epi", sidecar("j-", intent));
    image("dir-PA_epi", fmap + "_dir-PA_epi", sidecar("j", intent));
    image("task-rest_dir-AP_bold", name + "/func/" + bold, sidecar("j-", R"("TaskName": "rest")"));
  }

  ProgramResult bids(const std::vector<std::string>& options = {}) const {
    std::vector<std::string> words = {"bids", raw(), out(), "participant"};
    words.insert(words.end(), options.begin(), options.end());
    return runMirel(words);
  }

  bool isThere(const std::string& path) const { return std::filesystem::exists(out(path)); }

  TemporaryFolder folder;

 private:
  static inline std::unique_ptr<TemporaryFolder> images;
};

}  // namespace mirel

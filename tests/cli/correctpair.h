#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "cli/program.h"
#include "containers/volume.h"

namespace mirel {

/// A simulated pair and a series of three volumes on disk, made once by "mirel phantom", and a
/// folder of one's own for each test.
class CorrectPair : public testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();

  static std::string input(const std::string& name) { return inputs->file(name); }
  static std::string ap() { return input("sub-phantom_dir-AP_epi.nii.gz"); }
  static std::string pa() { return input("sub-phantom_dir-PA_epi.nii.gz"); }

  std::string file(const std::string& name) const { return folder.file(name); }
  std::string out() const { return file("out"); }
  std::string out(const std::string& name) const { return file("out/" + name); }
  std::vector<std::string> namesInOut() const;

  /// mirel correct AP PA options -o folder
  ProgramResult correct(const std::vector<std::string>& options,
                        const std::string& outputFolder = "out") const;

  static Volume<float> imageIn(const std::string& fileName);
  static double correlationInBrain(const Volume<float>& a, const Volume<float>& b);
  static double rmsInBrain(const Volume<float>& a, const Volume<float>& b);
  /// AP and PA as volumes of one file.
  static void writeJoined(const std::string& fileName);

  TemporaryFolder folder;

 private:
  static std::unique_ptr<TemporaryFolder> inputs;
};

}  // namespace mirel

#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/plainimage.h"
#include "cli/program.h"

namespace mirel {

/// A simulated pair of a head that moved between the images, a series, and the truth, three
/// times: with phase encoding along i, j and k. The voxels have three different sizes of more
/// than six digits each. The images along i and k are those along j with that axis and j exchanged
/// (in space they are the same), so that all results must be the same but for that exchange.
class AxesPair : public testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();

  /// Of the images with phase encoding along `axis` ('i', 'j' or 'k').
  static std::string input(char axis, const std::string& name) {
    return inputs->file(std::string(1, axis) + "/sub-phantom_" + name);
  }
  static std::string ap(char axis) { return input(axis, "dir-AP_epi.nii.gz"); }
  static std::string pa(char axis) { return input(axis, "dir-PA_epi.nii.gz"); }
  static std::string bold(char axis) { return input(axis, "task-rest_dir-AP_bold.nii.gz"); }
  static int indexOf(char axis) { return axis - 'i'; }

  std::string file(const std::string& name) const { return folder.file(name); }

  /// mirel correct of the pair into the folder `name`, which must succeed.
  ProgramResult correct(char axis, const std::vector<std::string>& options,
                        const std::string& name) const;

  TemporaryFolder folder;

 private:
  static std::unique_ptr<TemporaryFolder> inputs;
};

}  // namespace mirel

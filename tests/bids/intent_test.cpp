#include "bids/intent.h"

#include <gtest/gtest.h>

namespace mirel::bids {

TEST(Intent, FileNamesDecide) {
  const std::string entry = "ses-1/func/sub-1_ses-1_task-rest_run-1_bold.nii.gz";
  const std::string before = "/data/x/sub-1_ses-1_task-rest_";
  for (const char* same : {"run-1_bold.nii.gz", "run-1_bold.nii", "run-1_sbref.nii.gz",
                           "run-1_echo-2_bold.nii.gz", "run-1_part-mag_bold.nii.gz",
                           "run-1_desc-denoised_bold.nii.gz", "run-1_space-T1w_bold.nii.gz"})
    EXPECT_TRUE(isIntended(entry, before + same)) << same;
  for (const char* other : {"run-2_bold.nii.gz", "bold.nii.gz", "run-1_epi.nii.gz",
                            "acq-x_run-1_bold.nii.gz", "dir-AP_run-1_bold.nii.gz"})
    EXPECT_FALSE(isIntended(entry, before + other)) << other;
}

TEST(Intent, EntriesMayBeUris) {
  const std::string image = "sub-1/func/sub-1_task-rest_bold.nii.gz";
  EXPECT_TRUE(isIntended("bids::sub-1/func/sub-1_task-rest_bold.nii.gz", image));
  EXPECT_TRUE(isIntended("bids:raw:sub-1/func/sub-1_task-rest_bold.nii.gz", image));
  EXPECT_FALSE(isIntended("bids::sub-2/func/sub-2_task-rest_bold.nii.gz", image));
  EXPECT_TRUE(isIntended("func/run one.nii.gz", "elsewhere/run one.nii"));
  EXPECT_FALSE(isIntended("func/run one.nii.gz", "run two.nii"));
}

}  // namespace mirel::bids

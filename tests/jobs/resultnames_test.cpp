#include "jobs/resultnames.h"

#include <gtest/gtest.h>

namespace mirel {

using bids::Name;

namespace {

const Name ap = Name::of("sub-01_acq-hi_dir-AP_run-01_epi.nii.gz");
const Name pa = Name::of("sub-01_acq-hi_dir-PA_run-01_epi.nii.gz");

TEST(ResultNames, OfImagesInADataset) {
  EXPECT_EQ(correctedName(ap), "sub-01_acq-hi_dir-AP_run-01_desc-preproc_epi");
  EXPECT_EQ(displacementName(ap, "voxels"), "sub-01_acq-hi_dir-AP_run-01_desc-voxels_vdm");
  EXPECT_EQ(displacementName(ap, "mm"), "sub-01_acq-hi_dir-AP_run-01_desc-mm_vdm");
  EXPECT_EQ(warpName(ap), "sub-01_acq-hi_dir-AP_run-01_from-orig_to-undistorted_mode-image_xfm");
  EXPECT_EQ(pairResultName(ap, pa, "fieldmap"), "sub-01_acq-hi_run-01_desc-preproc_fieldmap");
  EXPECT_EQ(pairResultName(ap, pa, "magnitude"), "sub-01_acq-hi_run-01_desc-preproc_magnitude");
}

TEST(ResultNames, OfOneVolumeOfSeveral) {
  EXPECT_EQ(correctedName(ap, "Volume3"), "sub-01_acq-hi_dir-AP_run-01_desc-preprocVolume3_epi");
  EXPECT_EQ(displacementName(ap, "mm", "Volume3"),
            "sub-01_acq-hi_dir-AP_run-01_desc-mmVolume3_vdm");
  EXPECT_EQ(warpName(ap, "Volume3"),
            "sub-01_acq-hi_dir-AP_run-01_from-orig_to-undistorted_mode-image_desc-volume3_xfm");
}

TEST(ResultNames, OfAnImageThatHasADescription) {
  const Name bold = Name::of("sub-01_task-rest_desc-preproc_bold.nii.gz");
  EXPECT_EQ(correctedName(bold), "sub-01_task-rest_desc-preprocUndistorted_bold");
  EXPECT_EQ(motionName(bids::Name::of("sub-01_task-rest_bold.nii.gz")),
            "sub-01_task-rest_from-orig_to-boldref_mode-image_desc-hmc_xfm");
  EXPECT_EQ(warpName(bold, "Volume3"),
            "sub-01_task-rest_from-orig_to-undistorted_mode-image_desc-preprocVolume3_xfm");
}

// No rule allows a fieldmap a task, a contrast agent or an echo.
TEST(ResultNames, WhatAFieldmapMayNotHaveGoesIntoItsDescription) {
  EXPECT_EQ(pairResultName(Name::of("sub-01_task-rest_dir-AP_echo-1_sbref.nii"),
                           Name::of("sub-01_task-rest_dir-PA_echo-1_sbref.nii"), "fieldmap"),
            "sub-01_desc-preprocTaskRestEcho1_fieldmap");
  EXPECT_EQ(pairResultName(Name::of("task-rest_dir-AP_bold.nii"),
                           Name::of("task-rest_dir-PA_bold.nii"), "fieldmap"),
            "desc-preprocTaskRest_fieldmap");
}

TEST(ResultNames, OtherNamesStayInFront) {
  const Name one = Name::of("subj1_AP.nii"), two = Name::of("subj1_PA.nii");
  EXPECT_EQ(correctedName(one), "subj1_AP_desc-preproc");
  EXPECT_EQ(displacementName(one, "voxels"), "subj1_AP_desc-voxels_vdm");
  EXPECT_EQ(warpName(one), "subj1_AP_from-orig_to-undistorted_mode-image_xfm");
  EXPECT_EQ(motionName(one), "subj1_AP_from-orig_to-reference_mode-image_desc-hmc_xfm");
  EXPECT_EQ(pairResultName(one, two, "fieldmap"), "subj1_AP_PA_desc-preproc_fieldmap");
}

}  // namespace

}  // namespace mirel

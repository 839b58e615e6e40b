#include <gmock/gmock.h>

#include <filesystem>

#include "dataset/plan.h"
#include "dataset/planned.h"
#include "support/niftifiles.h"

namespace mirel::dataset {

// Published datasets whose images are empty files: finding and planning by names and sidecars.

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

class Examples : public testing::Test {
 protected:
  static SubjectPlan planOf(const std::string& name, const std::string& subject) {
    return planSubject(indexDataset(folder() + name), subject, Headers::left);
  }
  void SetUp() override {
    if (!fs::exists(folder())) GTEST_SKIP() << "no examples of datasets (MIREL_TEST_DATA)";
  }
  static std::string folder() { return niftifiles::dataFolder() + "/../bids/examples/"; }
};

}  // namespace

TEST_F(Examples, APairIsLinkedByIntendedFor) {
  const SubjectPlan plan = planOf("eyetracking_fmri", "01");
  for (const char* run : {"01", "02"})
    EXPECT_EQ(fateOf(plan, "sub-01/ses-01/func/sub-01_ses-01_task-rest_run-" + std::string(run) +
                               "_bold.nii.gz"),
              "sub-01_ses-01_dir-AP_epi.nii.gz+sub-01_ses-01_dir-PA_epi.nii.gz (IntendedFor)");
  EXPECT_EQ(plan.fields.size(), 1U);
}

TEST_F(Examples, PerfusionIsLinkedByIdentifier) {
  const SubjectPlan plan = planOf("2d_mb_pcasl", "1");
  EXPECT_EQ(fateOf(plan, "sub-1/perf/sub-1_asl.nii.gz"),
            "sub-1_dir-AP_epi.nii.gz+sub-1_dir-PA_epi.nii.gz (B0FieldIdentifier)");
}

TEST_F(Examples, PhaseDifferencesAreSources) {
  for (const auto& [name, subject] : std::vector<std::pair<std::string, std::string>>{
           {"ds000117", "01"}, {"7t_trt", "01"}, {"7t_trt", "02"}}) {
    const SubjectPlan plan = planOf(name, subject);
    EXPECT_FALSE(plan.planned.empty()) << name;
    for (const PlannedField& field : plan.fields) EXPECT_TRUE(field.isMeasured) << name;
    for (const PlannedImage& image : plan.planned)
      EXPECT_GT(image.reason.size(), 20U) << plan.images[image.image].image.path;
  }
}

TEST_F(Examples, NineRunsShareOnePhaseDifference) {
  const SubjectPlan plan = planOf("ds000117", "01");
  EXPECT_EQ(plan.fields.size(), 1U);
  for (const char* run : {"01", "09"})
    EXPECT_EQ(fateOf(plan, "sub-01/ses-mri/func/sub-01_ses-mri_task-facerecognition_run-" +
                               std::string(run) + "_bold.nii.gz"),
              "sub-01_ses-mri_phasediff.nii (IntendedFor)");
}

}  // namespace mirel::dataset

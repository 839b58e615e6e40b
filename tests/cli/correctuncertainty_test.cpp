#include <gmock/gmock.h>

#include <filesystem>

#include "cli/correctpair.h"
#include "nifti/image.h"

// mirel correct --uncertainty: how far the field may be from the true one.

namespace mirel {

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

using CorrectUncertainty = CorrectPair;

TEST_F(CorrectUncertainty, IsOfTheSizeOfTheErrorsAndChangesNothingElse) {
  const ProgramResult result = correct({"--uncertainty"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("sub-phantom_desc-uncertainty_fieldmap.nii.gz"));
  const Volume<float> field = imageIn(out("sub-phantom_desc-preproc_fieldmap.nii.gz"));
  const Volume<float> told = imageIn(out("sub-phantom_desc-uncertainty_fieldmap.nii.gz"));
  EXPECT_GT(told.min(), 0.0F);
  const double error = rmsInBrain(field, imageIn(input("sub-phantom_desc-truth_fieldmap.nii.gz")));
  const double expected = rmsInBrain(told, Volume<float>(told.dimensions(), 0.0F));
  EXPECT_NEAR(error / expected, 1.0, 0.4);
  ASSERT_EQ(correct({}, "plain").status, 0);
  EXPECT_EQ(imageIn(file("plain/sub-phantom_desc-preproc_fieldmap.nii.gz")), field);
  EXPECT_FALSE(std::filesystem::exists(file("plain/sub-phantom_desc-uncertainty_fieldmap.nii.gz")));
}

TEST_F(CorrectUncertainty, IsInVoxelsWithoutReadoutTime) {
  std::filesystem::copy(ap(), file("a.nii.gz"));
  std::filesystem::copy(pa(), file("b.nii.gz"));
  const ProgramResult result = runMirel(
      {"correct", file("a.nii.gz"), file("b.nii.gz"), "--uncertainty", "--quiet", "-o", out()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_GT(imageIn(out("a_desc-uncertainty_vdm.nii.gz")).min(), 0.0F);
}

TEST_F(CorrectUncertainty, IsNotWrittenOfAnImageAndItsCopy) {
  const nifti::Header like = nifti::floatMapLike(nifti::Reader(ap()).header());
  for (const float factor : {1.0F, 1.7F}) {
    nifti::Writer writer(file("copy.nii.gz"), like);
    writer.write(imageIn(ap()) * factor);
    writer.finish();
    const ProgramResult result =
        runMirel({"correct", ap(), file("copy.nii.gz"), "--pe-b", "j", "--readout", "0.04",
                  "--uncertainty", "--overwrite", "--no-report", "-o", out()});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("it is a copy"));
    EXPECT_THAT(result.err, HasSubstr("no uncertainty is written: "));
    EXPECT_THAT(namesInOut(), Not(Contains(HasSubstr("desc-uncertainty"))));
    EXPECT_THAT(namesInOut(), Contains(HasSubstr("_vdm")));
  }
}

TEST_F(CorrectUncertainty, IsNotKnownToTheSearch) {
  const ProgramResult result = correct({"--uncertainty", "--estimator", "search"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, HasSubstr("the search, which does not know it"));
}

}  // namespace

}  // namespace mirel

#include "dataset/ignore.h"

#include <gtest/gtest.h>

namespace mirel::dataset {

TEST(IgnoreRules, WithoutRulesNothingIsIgnored) {
  EXPECT_FALSE(IgnoreRules().ignores("sub-01/func/sub-01_bold.nii.gz"));
  EXPECT_FALSE(IgnoreRules("\n# a remark\n\n").ignores("# a remark"));
}

TEST(IgnoreRules, ANameAloneHoldsInEveryFolder) {
  const IgnoreRules rules("*_FLASH.nii.gz\nsub-0[12]_x.json\r\nsub-?y\n");
  EXPECT_TRUE(rules.ignores("a_FLASH.nii.gz"));
  EXPECT_TRUE(rules.ignores("sub-01/ses-1/anat/a_FLASH.nii.gz"));
  EXPECT_TRUE(rules.ignores("deep/sub-02_x.json"));
  EXPECT_FALSE(rules.ignores("deep/sub-03_x.json"));
  EXPECT_TRUE(rules.ignores("sub-1y"));
  EXPECT_FALSE(rules.ignores("sub-11y"));
}

TEST(IgnoreRules, APathHoldsFromTheRootOn) {
  const IgnoreRules rules("/one.nii\nsub-01/func/*_bold.nii\n**/extra/*.nii\n");
  EXPECT_TRUE(rules.ignores("one.nii"));
  EXPECT_FALSE(rules.ignores("sub-01/one.nii"));
  EXPECT_TRUE(rules.ignores("sub-01/func/a_bold.nii"));
  EXPECT_FALSE(rules.ignores("sub-01/func/deep/a_bold.nii")) << "a star ends at a slash";
  EXPECT_TRUE(rules.ignores("extra/a.nii"));
  EXPECT_TRUE(rules.ignores("sub-02/ses-1/extra/a.nii"));
}

TEST(IgnoreRules, AFolderTakesWhatIsInItAlong) {
  const IgnoreRules rules("sub-01\nextra/\n");
  EXPECT_TRUE(rules.ignores("sub-01/func/a_bold.nii"));
  EXPECT_TRUE(rules.ignores("sub-02/extra/a_bold.nii"));
  EXPECT_TRUE(rules.ignores("sub-02/extra/"));
  EXPECT_FALSE(rules.ignores("sub-02/extra")) << "a file of that name";
}

TEST(IgnoreRules, ALaterLineTakesBack) {
  const IgnoreRules rules("*.nii\n!kept.nii\n");
  EXPECT_TRUE(rules.ignores("sub-01/a.nii"));
  EXPECT_FALSE(rules.ignores("sub-01/kept.nii"));
}

}  // namespace mirel::dataset

#include "bids/name.h"

#include <gtest/gtest.h>

namespace mirel {

using bids::Name;

TEST(BidsName, EntitiesAndSuffixAreTakenApart) {
  const Name name = Name::of("data/sub-01/sub-01_dir-AP_epi.nii.gz");
  ASSERT_EQ(name.entities.size(), 2U);
  EXPECT_EQ(name.entities[1], (std::pair<std::string, std::string>("dir", "AP")));
  EXPECT_EQ(name.entity("dir"), "AP");
  EXPECT_EQ(name.entity("ses"), "");
  EXPECT_EQ(name.suffix, "epi");
  EXPECT_EQ(name.text(), "sub-01_dir-AP_epi");
}

TEST(BidsName, DerivedNamesKeepEntitiesAndSuffix) {
  const Name name = Name::of("sub-01_dir-AP_epi.nii");
  EXPECT_EQ(derivedName(name, "corrected"), "sub-01_dir-AP_desc-corrected_epi");
  EXPECT_EQ(derivedName(name, "voxels", "vdm"), "sub-01_dir-AP_desc-voxels_vdm");
}

TEST(BidsName, ADescriptionIsContinuedNotDoubled) {
  EXPECT_EQ(derivedName(Name::of("sub-01_desc-preproc_bold.nii.gz"), "corrected"),
            "sub-01_desc-preprocCorrected_bold");
}

TEST(BidsName, OtherNamesStayInFront) {
  for (const char* file : {"run 1.nii.gz", "a/run 1.nii"})
    EXPECT_EQ(derivedName(Name::of(file), "corrected"), "run 1_desc-corrected");
  // No suffix, a part without a key, no value, no key.
  for (const char* text : {"sub-01_dir-AP", "sub-01_b0_epi", "sub-_epi", "-1_epi", "epi"}) {
    EXPECT_FALSE(Name::of(std::string(text) + ".nii").isStructured()) << text;
    EXPECT_EQ(derivedName(Name::of(std::string(text) + ".nii"), "warp", "xfm"),
              std::string(text) + "_desc-warp_xfm");
  }
}

TEST(BidsName, CommonNameHasWhatBothShareButForTheDirection) {
  const Name a = Name::of("sub-01_ses-2_dir-AP_run-1_epi.nii.gz");
  EXPECT_EQ(commonName(a, Name::of("sub-01_ses-2_dir-PA_run-2_epi.nii.gz")).text(),
            "sub-01_ses-2_epi");
  EXPECT_EQ(commonName(a, a).text(), "sub-01_ses-2_run-1_epi");
}

TEST(BidsName, WithNothingInCommonBothNamesStayInFront) {
  const auto common = [](const char* a, const char* b) {
    return commonName(Name::of(a), Name::of(b)).text();
  };
  EXPECT_EQ(common("subj1_AP.nii", "subj1_PA.nii"), "subj1_AP_PA");
  EXPECT_EQ(common("ap.nii", "x/pa.nii"), "ap_pa");
  EXPECT_EQ(common("both.nii", "both.nii"), "both");
  EXPECT_EQ(common("a_b.nii", "a_b_c.nii"), "a_b_c");
  EXPECT_EQ(common("sub-01_epi.nii", "sub-02_epi.nii"), "sub-01_epi_sub-02_epi");
}

}  // namespace mirel

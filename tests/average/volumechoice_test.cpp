#include "average/volumechoice.h"

#include <gmock/gmock.h>

#include "support/niftifiles.h"
#include "support/temporaryfolder.h"

namespace mirel {

namespace {

using niftifiles::failure;
using testing::ElementsAre;
using testing::HasSubstr;
using Kind = VolumeChoice::Kind;

TEST(VolumeChoice, IsReadFromText) {
  EXPECT_EQ(volumeChoiceOf("b0")->kind, Kind::unweighted);
  EXPECT_EQ(volumeChoiceOf("all")->kind, Kind::all);
  EXPECT_THAT(volumeChoiceOf("7-9,0,3,8")->listed, ElementsAre(0, 3, 7, 8, 9));
  EXPECT_THAT(volumeChoiceOf("5")->listed, ElementsAre(5));
  EXPECT_THAT(volumeChoiceOf("2147483646-2147483647")->listed, ElementsAre(2147483646, 2147483647));
  for (const char* wrong : {"", ",", "1,", "a", "-1", "3-1", "1--2", "1.5", "b1000", " 1",
                            "99999999999", "0-2000000000"})
    EXPECT_FALSE(volumeChoiceOf(wrong)) << wrong;
}

class ChosenVolumes : public testing::Test {
 protected:
  ChosenVolumes() { header.volumes = 4; }

  std::vector<int> chosen(const std::string& text) const {
    return chosenVolumes(*volumeChoiceOf(text), image, header);
  }
  void bValues(const std::string& text) const {
    niftifiles::writeText(folder.file("dwi.bval"), text);
  }

  TemporaryFolder folder;
  std::string image = folder.file("dwi.nii.gz");
  nifti::Header header;
};

TEST_F(ChosenVolumes, AreThoseOfTheChoice) {
  EXPECT_THAT(chosen("all"), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(chosen("3,1"), ElementsAre(1, 3));
  bValues("0 1000 5 2000\n");
  EXPECT_THAT(chosen("b0"), ElementsAre(0, 2));
  EXPECT_THAT(chosen("1,3"), ElementsAre(1, 3));
}

TEST_F(ChosenVolumes, AreThere) {
  EXPECT_THAT(failure([&] { chosen("2-4"); }),
              HasSubstr("dwi.nii.gz has 4 volumes, counted from 0: there is no volume 4"));
}

TEST_F(ChosenVolumes, NeedBValuesToBeWithoutWeighting) {
  EXPECT_THAT(failure([&] { chosen("b0"); }), HasSubstr("has no .bval file beside it"));
  bValues("1000 1000 1000 1000\n");
  EXPECT_THAT(failure([&] { chosen("b0"); }), HasSubstr("tells of no volume of"));
}

TEST_F(ChosenVolumes, AreOfOneContrast) {
  bValues("0 1000 5 2000\n");
  EXPECT_THAT(failure([&] { chosen("all"); }),
              HasSubstr("has diffusion weighting in 2 of the 4 volumes chosen and none in"));
}

}  // namespace

}  // namespace mirel

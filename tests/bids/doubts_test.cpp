#include "bids/doubts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/temporaryfolder.h"

namespace {

using namespace mirel;
using namespace mirel::bids;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr glm::ivec3 dims{64, 64, 30};

class Contradictions : public testing::Test {
 protected:
  Contradictions() {
    folder.write("a.json", R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.05})");
  }
  std::vector<std::string> of(const GivenAcquisition& given) const {
    // As given alone, so that the image's own sidecar may be broken.
    return contradictionsOf(image, dims, given,
                            given.sidecar.empty() ? givenAcquisition(image, given)
                                                  : resolveAcquisition(image, dims, given));
  }

  TemporaryFolder folder;
  const std::string image = folder.file("a.nii.gz"), sidecar = folder.file("a.json");
};

TEST_F(Contradictions, AreWhatAUserSaidOtherThanTheSidecar) {
  GivenAcquisition given;
  given.direction = PhaseEncodingDirection{1, 1};
  given.readoutSeconds = 0.1;
  EXPECT_THAT(of(given), ElementsAre("the phase encoding j given for " + image +
                                         " is not that of its sidecar " + sidecar + ", j-",
                                     "the readout time of 0.1 s given for " + image +
                                         " is not that of its sidecar " + sidecar + ", 0.05 s"));
}

TEST_F(Contradictions, AnotherSidecarIsTheUsersWord) {
  GivenAcquisition given;
  given.sidecar =
      folder.write("b.json", R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.05})");
  EXPECT_EQ(of(given).size(), 1u);
}

TEST_F(Contradictions, ThereAreNoneWhereBothAgreeOrOneIsSilent) {
  EXPECT_THAT(of({}), IsEmpty());
  GivenAcquisition given;
  given.direction = PhaseEncodingDirection{1, -1};
  given.readoutSeconds = 0.0504;
  EXPECT_THAT(of(given), IsEmpty());
  folder.write("a.json", "{}");
  given.readoutSeconds = 0.1;
  EXPECT_THAT(of(given), IsEmpty());
  folder.write("a.json", "no sidecar");
  EXPECT_THAT(of(given), IsEmpty());
}

TEST(SubjectDoubts, NameWhatDiffers) {
  EXPECT_THAT(doubtsAboutSubject("d/sub-02_dir-AP_epi.nii.gz", "sub-01_dir-AP_epi.nii"),
              ElementsAre("d/sub-02_dir-AP_epi.nii.gz is of sub-02 by its name, "
                          "sub-01_dir-AP_epi.nii of sub-01: what distorts one head does not "
                          "distort another"));
  EXPECT_EQ(doubtsAboutSubject("sub-1_ses-2_bold.nii", "sub-1_ses-1_epi.nii").size(), 1u);
  EXPECT_THAT(doubtsAboutSubject("sub-1_ses-2_bold.nii", "sub-1_epi.nii"), IsEmpty());
  EXPECT_THAT(doubtsAboutSubject("bold.nii", "sub-1_epi.nii"), IsEmpty());
}

TEST(SecondCorrection, IsToldByTheSidecar) {
  const TemporaryFolder folder;
  const std::string image = folder.file("a.nii.gz");
  folder.write("a.json", R"({"PhaseEncodingDirection": "j"})");
  EXPECT_THAT(doubtsAboutSecondCorrection(image, resolveAcquisition(image, dims, {})), IsEmpty());
  folder.write("a.json", R"({"DistortionCorrection": {}})");
  EXPECT_EQ(doubtsAboutSecondCorrection(image, resolveAcquisition(image, dims, {})).size(), 1u);
}

}  // namespace

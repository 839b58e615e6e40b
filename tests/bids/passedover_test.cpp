#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bids/doubts.h"
#include "support/temporaryfolder.h"

// Sidecars that could describe an image and do not count, beside one of a more specific name.

namespace {

using namespace mirel;
using namespace mirel::bids;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* own = R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.05})";

class PassedOver : public testing::Test {
 protected:
  std::vector<std::string> notes(const GivenAcquisition& given = {}) const {
    return notesOnPassedOver(image, given, resolveAcquisition(image, {64, 64, 30}, given));
  }
  void general(const std::string& text) const { folder.write("sub-1_epi.json", text); }

  TemporaryFolder folder;
  const std::string image = folder.file("sub-1_acq-x_epi.nii.gz");
  const std::string specific = folder.write("sub-1_acq-x_epi.json", own);
};

TEST_F(PassedOver, AreToldWhereTheySayOtherwise) {
  general(R"({"PhaseEncodingDirection": "j", "TotalReadoutTime": 0.05, "IntendedFor": "a.nii"})");
  EXPECT_THAT(notes(), ElementsAre(folder.file("sub-1_epi.json") + " could describe " + image +
                                   ", too, and says otherwise of PhaseEncodingDirection and has "
                                   "what is told nowhere else, IntendedFor: it does not count, "
                                   "since a sidecar in its folder has a more specific name"));
}

TEST_F(PassedOver, AreNotWorthAWordOtherwise) {
  EXPECT_THAT(notes(), IsEmpty());
  general(R"({"PhaseEncodingDirection": "j-", "TotalReadoutTime": 0.05, "EchoTime": 1})");
  EXPECT_THAT(notes(), IsEmpty());
  general("not JSON");
  EXPECT_THAT(notes(), IsEmpty());
  // Each of the two images is of a series of its own.
  general(R"({"IntendedFor": "a.nii"})");
  folder.write("sub-1_acq-x_epi.json",
               R"({"PhaseEncodingDirection": "j-", "IntendedFor": "b.nii"})");
  EXPECT_THAT(notes(), IsEmpty());
}

TEST_F(PassedOver, AreNoneWhereTheUserNamesTheSidecar) {
  general(R"({"PhaseEncodingDirection": "j"})");
  EXPECT_EQ(notes().size(), 1u);
  GivenAcquisition given;
  given.sidecar = specific;
  EXPECT_THAT(notes(given), IsEmpty());
}

}  // namespace

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bids/doubts.h"
#include "support/temporaryfolder.h"

// Fewer lines acquired than reconstructed.

namespace {

using namespace mirel;
using namespace mirel::bids;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> doubtsAbout(const std::string& fields,
                                     const GivenAcquisition& given = {}) {
  const TemporaryFolder folder;
  folder.write("a.json", R"({"PhaseEncodingDirection": "j", )" + fields + "}");
  const std::string image = folder.file("a.nii.gz");
  return doubtsAboutAcquiredLines(image, resolveAcquisition(image, {128, 128, 30}, given));
}

const std::string fewer = R"("AcquisitionMatrixPE": 96, "ReconMatrixPE": 128, )";
const std::string spacing = R"("EffectiveEchoSpacing": 0.0005, )";

TEST(AcquiredLines, AreDoubtedWhereTheTimeIsNotOfTheReconstructedOnes) {
  EXPECT_THAT(doubtsAbout(fewer + spacing + R"("TotalReadoutTime": 0.0475)"),
              ElementsAre(AllOf(HasSubstr("96 of 128 lines"), HasSubstr(", 0.0475 s,"),
                                HasSubstr("0.0635 s, but times the acquired ones"),
                                HasSubstr("by a factor of 1.33"))));
  EXPECT_THAT(doubtsAbout(fewer + spacing + R"("TotalReadoutTime": 0.055)"),
              ElementsAre(AllOf(HasSubstr("0.0635 s: Hz may be off"))));
}

TEST(AcquiredLines, AreNoneOfAnybodysBusinessWhereAllAgrees) {
  EXPECT_THAT(doubtsAbout(fewer + spacing + R"("TotalReadoutTime": 0.0635)"), IsEmpty());
  EXPECT_THAT(doubtsAbout(fewer + spacing + R"("TotalReadoutTime": 0.064)"), IsEmpty());
  EXPECT_THAT(doubtsAbout(spacing + R"("TotalReadoutTime": 0.0475)"), IsEmpty());
  EXPECT_THAT(doubtsAbout(fewer + R"("TotalReadoutTime": 0.0475)"), IsEmpty());
  EXPECT_THAT(doubtsAbout(R"("AcquisitionMatrixPE": 128, "ReconMatrixPE": 128, )" + spacing +
                          R"("TotalReadoutTime": 0.0475)"),
              IsEmpty());
  GivenAcquisition given;
  given.readoutSeconds = 0.05;
  EXPECT_THAT(doubtsAbout(fewer + spacing + R"("TotalReadoutTime": 0.0475)", given), IsEmpty());
}

}  // namespace

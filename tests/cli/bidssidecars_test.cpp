#include <nlohmann/json.hpp>

#include "cli/tinystudy.h"

namespace mirel {

// Images whose names differ by one entity, each with a sidecar of its own, in one folder: the name
// of one sidecar applies to the other image, too.

using nlohmann::json;
using testing::HasSubstr;

namespace {

class BidsSidecars : public TinyStudy {
 protected:
  void SetUp() override {
    TinyStudy::SetUp();
    subject("01");
    const std::string intent = R"("IntendedFor": "func/sub-01_task-rest_acq-x_bold.nii.gz")";
    image("dir-PA_epi", "sub-01/fmap/sub-01_acq-x_dir-AP_epi", sidecarOf("j", intent));
    image("dir-AP_epi", "sub-01/fmap/sub-01_acq-x_dir-PA_epi", sidecarOf("j-", intent));
    image("task-rest_dir-AP_bold", "sub-01/func/sub-01_task-rest_acq-x_bold", sidecarOf("j-"));
  }
  // Other values than those of the images without acq-x.
  static std::string sidecarOf(const std::string& direction, const std::string& more = "") {
    return R"({"PhaseEncodingDirection": ")" + direction + R"(", "TotalReadoutTime": 0.02)" +
           (more.empty() ? "" : ", " + more) + "}";
  }
  // As it stands in the record of a corrected field map.
  std::string acquisitionOf(const std::string& entities) const {
    const json input = json::parse(textOf(
        out("sub-01/fmap/sub-01_" + entities + "_desc-preproc_epi.json")))["Mirel"]["Inputs"];
    for (const json& image : input)
      if (image["File"].get<std::string>().ends_with("sub-01_" + entities + "_epi.nii.gz"))
        return image["PhaseEncodingDirection"].get<std::string>() + " " +
               image["TotalReadoutTime"]["Seconds"].dump();
    return "no record";
  }
};

}  // namespace

TEST_F(BidsSidecars, EachImageHasItsOwn) {
  const ProgramResult result = bids();
  ASSERT_EQ(result.status, 0) << result.out << result.err;
  EXPECT_THAT(result.err, HasSubstr("6 images corrected"));
  EXPECT_EQ(acquisitionOf("acq-x_dir-AP"), "j 0.02");
  EXPECT_EQ(acquisitionOf("acq-x_dir-PA"), "j- 0.02");
  EXPECT_EQ(acquisitionOf("dir-AP"), "j- 0.04");
}

TEST_F(BidsSidecars, ANoteSaysWhichDidNotCount) {
  ASSERT_EQ(bids().status, 0);
  const std::string log = textOf(out("logs/sub-01.log"));
  EXPECT_THAT(log, HasSubstr("sub-01_task-rest_bold.json could describe"));
  EXPECT_THAT(log, HasSubstr("sub-01_dir-AP_epi.json could describe"));
  EXPECT_THAT(log, HasSubstr("says otherwise of PhaseEncodingDirection, TotalReadoutTime"));
}

TEST_F(BidsSidecars, AValueThatOnlyTheOtherHasIsNotTaken) {
  text("sub-01/func/sub-01_task-rest_acq-x_bold.json", R"({"PhaseEncodingDirection": "j-"})");
  const ProgramResult result = bids();
  EXPECT_THAT(result.out, HasSubstr("acq-x_bold.nii.gz\n    left"));
  EXPECT_THAT(result.err, HasSubstr("has what is told nowhere else, TotalReadoutTime"));
}

}  // namespace mirel

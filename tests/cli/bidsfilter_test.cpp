#include "cli/tinystudy.h"

namespace mirel {

// "mirel bids --bids-filter-file": which images of a dataset are wanted.

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class BidsFilter : public TinyStudy {
 protected:
  void SetUp() override {
    TinyStudy::SetUp();
    subject("01");
  }
  ProgramResult filtered(const std::string& filter, std::vector<std::string> options = {}) const {
    options.insert(options.end(),
                   {"--bids-filter-file", folder.write("filter.json", filter), "--dry-run"});
    return bids(options);
  }
};

}  // namespace

TEST_F(BidsFilter, WhatItLeavesOutStandsInThePlanWithTheReason) {
  const ProgramResult result = filtered(R"({"bold": {"task": "other"}})", {"--strict"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("sub-01_task-rest_bold.nii.gz\n    not selected"));
  EXPECT_THAT(result.out, AllOf(HasSubstr("it is left out by"),
                                HasSubstr("whose filter bold asks for task other")));
  EXPECT_THAT(result.out, HasSubstr("sub-01_dir-AP_epi.nii.gz\n    planned"));
  EXPECT_THAT(result.err, HasSubstr("Warning: the filter bold in"));
  EXPECT_THAT(filtered(R"({"bold": {"task": "rest"}})").out, Not(HasSubstr("not selected")));
}

TEST_F(BidsFilter, FieldMapsThatItLeavesOutAreNoSources) {
  const ProgramResult result = filtered(R"({"fmap": {"direction": "AP"}})");
  EXPECT_THAT(result.out, HasSubstr("sub-01_dir-PA_epi.nii.gz\n    not selected\n"));
  EXPECT_THAT(result.out, HasSubstr("sub-01_task-rest_bold.nii.gz\n    left\n"));
}

TEST_F(BidsFilter, ChoosesAmongFieldMaps) {
  for (const char* dir : {"AP", "PA"})
    image(
        "dir-" + std::string(dir) + "_epi",
        "sub-01/fmap/sub-01_acq-other_dir-" + std::string(dir) + "_epi",
        sidecar(*dir == 'A' ? "j-" : "j", R"("IntendedFor": "func/sub-01_task-rest_bold.nii.gz")"));
  const std::string bold = "sub-01_task-rest_bold.nii.gz\n    planned: sub-01_";
  EXPECT_THAT(filtered(R"({"fmap": {"acquisition": "other"}})").out,
              HasSubstr(bold + "acq-other_desc-preproc_fieldmap"));
  EXPECT_THAT(filtered(R"({"fmap": {"acquisition": null}})").out,
              HasSubstr(bold + "desc-preproc_fieldmap"));
}

TEST_F(BidsFilter, ThatIsNotUnderstoodIsAMistakeOfUsage) {
  for (const char* filter : {"{", R"({"func": {}})", R"({"bold": {"taks": "rest"}})"}) {
    const ProgramResult result = filtered(filter);
    EXPECT_EQ(result.status, 2) << filter;
    EXPECT_THAT(result.err, HasSubstr("filter.json"));
  }
  EXPECT_EQ(bids({"--bids-filter-file", folder.file("absent.json")}).status, 2);
  EXPECT_FALSE(fs::exists(out()));
}

}  // namespace mirel

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
  const std::string intent = R"("IntendedFor": "func/sub-02_task-rest_bold.nii.gz")";
  for (const std::string acq : {"a", "b"})
    for (const std::string dir : {"AP", "PA"})
      image("dir-" + dir + "_epi", "sub-02/fmap/sub-02_acq-" + acq + "_dir-" + dir + "_epi",
            sidecar(dir == "AP" ? "j-" : "j", intent));
  image("task-rest_dir-AP_bold", "sub-02/func/sub-02_task-rest_bold", sidecar("j-"));
  for (const std::string acq : {"a", "b"}) {
    const std::string out =
        filtered(R"({"fmap": {"acquisition": ")" + acq + R"("}})", {"--participant-label", "02"})
            .out;
    EXPECT_THAT(out, HasSubstr("sub-02_task-rest_bold.nii.gz\n    planned: sub-02_acq-" + acq +
                               "_desc-preproc_fieldmap"));
  }
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

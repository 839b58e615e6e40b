#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "cli/correctpair.h"

namespace mirel {

// The outline of an anatomical image on the page of a run.

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class ReportWithAnatomy : public CorrectPair {
 protected:
  // The simulated head without distortion.
  std::string anatomy(const std::string& name = "sub-phantom_T1w.nii.gz") const {
    const std::string copy = file(name);
    fs::copy_file(input("sub-phantom_desc-undistorted_epi.nii.gz"), copy,
                  fs::copy_options::overwrite_existing);
    return copy;
  }
  std::string page(const std::string& name = "out/report.html") const { return textOf(file(name)); }
  static constexpr const char* line = "class=\"anatomy\"";
};

TEST_F(ReportWithAnatomy, DrawsItsHeadAndSaysSo) {
  const ProgramResult result = correct({"--quiet", "--fast", "--anat", anatomy()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(page(), HasSubstr(line));
  EXPECT_THAT(page(), HasSubstr("the head in sub-phantom_T1w.nii.gz"));
  EXPECT_THAT(page(), HasSubstr("Dice&apos;s overlap of the two heads is 0.9"));
  EXPECT_THAT(page(), HasSubstr("Outline of this page alone"));
  const ProgramResult applied =
      runMirel({"apply", "--field", out("sub-phantom_desc-preproc_fieldmap.nii.gz"), ap(), "--anat",
                anatomy(), "--quiet", "-o", file("applied")});
  ASSERT_EQ(applied.status, 0) << applied.err;
  EXPECT_THAT(page("applied/report.html"), HasSubstr(line));
}

TEST_F(ReportWithAnatomy, HasNoSuchLineWithoutOne) {
  ASSERT_EQ(correct({"--quiet", "--fast"}).status, 0);
  EXPECT_THAT(page(), Not(HasSubstr(line)));
  EXPECT_THAT(page(), Not(HasSubstr("blue line")));
}

TEST_F(ReportWithAnatomy, WarnsOfAnotherSubject) {
  const ProgramResult result =
      correct({"--quiet", "--fast", "--anat", anatomy("sub-02_T1w.nii.gz")});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("Warning: "));
  EXPECT_THAT(result.err, HasSubstr("sub-02_T1w.nii.gz is of sub-02 and "));
  EXPECT_THAT(page(), HasSubstr("is of sub-02 and "));
}

TEST_F(ReportWithAnatomy, RefusesWhatIsNoneAndWritesNothing) {
  const std::string series = input("sub-phantom_task-rest_dir-AP_bold.nii.gz");
  const ProgramResult result = correct({"--quiet", "--fast", "--anat", series});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("has 3 volumes: an anatomical image has one"));
  EXPECT_EQ(correct({"--quiet", "--fast", "--anat", file("none.nii.gz")}).status, 1);
  EXPECT_THAT(correct({"--no-report", "--anat", anatomy()}).err, HasSubstr("--no-report"));
  EXPECT_FALSE(fs::exists(out()));
}

}  // namespace

}  // namespace mirel

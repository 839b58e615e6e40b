#include "cli/tinystudy.h"

namespace mirel {

// Datasets with faults: one sentence each, and the rest is corrected.

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class BadStudies : public TinyStudy {
 protected:
  static constexpr const char* good = "sub-01/func/sub-01_task-rest_desc-preproc_bold.nii.gz";

  void SetUp() override {
    TinyStudy::SetUp();
    subject("01");
    subject("02");
  }
  void expectTheRestCorrected(const ProgramResult& result, int status) const {
    EXPECT_EQ(result.status, status) << result.err;
    EXPECT_TRUE(isThere(good)) << result.out << result.err;
    EXPECT_THAT(result.err, HasSubstr(status == 0 ? "Done: " : "Not all done: "));
  }
};

}  // namespace

TEST_F(BadStudies, NoDescription) {
  fs::remove(raw("dataset_description.json"));
  const ProgramResult result = bids();
  EXPECT_THAT(result.err, HasSubstr("has no dataset_description.json"));
  expectTheRestCorrected(result, 0);
}

TEST_F(BadStudies, ADescriptionThatIsBroken) {
  text("dataset_description.json", "{\"Name\": ");
  const ProgramResult result = bids();
  EXPECT_THAT(result.err, HasSubstr("dataset_description.json is not valid JSON"));
  expectTheRestCorrected(result, 0);
}

TEST_F(BadStudies, AnUnknownVersion) {
  for (const char* version : {R"("7.0.0")", "1.8", R"("")"}) {
    text("dataset_description.json",
         R"({"Name": "tiny", "BIDSVersion": )" + std::string(version) + "}");
    EXPECT_THAT(bids({"--dry-run"}).err, HasSubstr("tells the BIDSVersion " + std::string(version) +
                                                   ", which is not known"));
  }
  expectTheRestCorrected(bids(), 0);
  text("dataset_description.json", R"({"Name": "tiny", "BIDSVersion": "1.11.0-dev"})");
  EXPECT_EQ(bids({"--dry-run"}).err, "");
}

TEST_F(BadStudies, LinksBetweenFilesThatAreNotThere) {
  const std::string links = R"("IntendedFor": ["func/sub-02_task-rest_bold.nii.gz",
      "bids::sub-02/func/sub-02_task-gone_bold.nii.gz"])";
  text("sub-02/fmap/sub-02_dir-AP_epi.json", sidecar("j-", links));
  const ProgramResult result = bids();
  EXPECT_THAT(result.err, HasSubstr("sub-02_task-gone_bold.nii.gz"));
  expectTheRestCorrected(result, 0);
  EXPECT_TRUE(isThere("sub-02/func/sub-02_task-rest_desc-preproc_bold.nii.gz"));
}

// Empty files under the names of images and their sidecars, as a copy that went wrong leaves them.
TEST_F(BadStudies, TenThousandFiles) {
  for (int run = 1000; run < 6000; ++run) {
    const std::string stem = "sub-02/func/sub-02_task-x_run-" + std::to_string(run);
    text(stem + "_bold.nii.gz", "");
    text(stem + "_bold.json", "");
  }
  const ProgramResult result = bids();
  EXPECT_THAT(result.err, HasSubstr("6 images corrected, 0 were up to date, 5000 left"));
  EXPECT_THAT(result.out, HasSubstr("sub-02_task-x_run-5999_bold.nii.gz\n    left"));
  expectTheRestCorrected(result, 1);
}

TEST_F(BadStudies, BrokenJsonInOneSubject) {
  text("sub-02/func/sub-02_task-rest_bold.json", "{\"PhaseEncodingDirection\": ");
  const ProgramResult result = bids();
  EXPECT_THAT(result.out, HasSubstr("sub-02_task-rest_bold.json"));
  expectTheRestCorrected(result, 1);
}

TEST_F(BadStudies, APairWithoutDirections) {
  for (const char* dir : {"AP", "PA"})
    text("sub-02/fmap/sub-02_dir-" + std::string(dir) + "_epi.json",
         R"({"IntendedFor": "func/sub-02_task-rest_bold.nii.gz"})");
  const ProgramResult result = bids();
  EXPECT_THAT(result.out,
              AllOf(HasSubstr("no PhaseEncodingDirection is in its sidecars"),
                    HasSubstr("sub-02_dir-AP_epi.nii.gz has no PhaseEncodingDirection")));
  expectTheRestCorrected(result, 0);
  EXPECT_EQ(bids({"--strict"}).status, 1);
}

TEST_F(BadStudies, LinksToContentsThatAreNotHere) {
  const std::string image = raw("sub-02/func/sub-02_task-rest_bold.nii.gz");
  fs::remove(image);
  fs::create_symlink("../../.git/annex/objects/x", image);
  const ProgramResult result = bids();
  EXPECT_THAT(result.out,
              HasSubstr("(datalad get sub-02/func/sub-02_task-rest_bold.nii.gz fetches them)"));
  expectTheRestCorrected(result, 1);
}

TEST_F(BadStudies, TwoFilesForOneName) {
  fs::copy(raw("sub-02/func/sub-02_task-rest_bold.nii.gz"),
           raw("sub-02/func/sub-02_task-rest_bold.nii"));
  const ProgramResult result = bids();
  EXPECT_THAT(result.out, HasSubstr("is there twice, as .nii and as .nii.gz"));
  expectTheRestCorrected(result, 1);
}

TEST_F(BadStudies, ACircleOfLinks) {
  fs::create_directory_symlink("..", raw("sub-02/func/again"));
  const ProgramResult result = bids();
  EXPECT_THAT(result.err, HasSubstr("is a link to a folder that it lies in"));
  expectTheRestCorrected(result, 0);
}

TEST_F(BadStudies, AnImageThatBreaksOffWhileItIsCorrected) {
  const std::string image = raw("sub-02/func/sub-02_task-rest_bold.nii.gz");
  fs::resize_file(image, fs::file_size(image) / 2);
  const ProgramResult result = bids();
  EXPECT_THAT(result.out, AllOf(HasSubstr("sub-02_task-rest_bold.nii.gz\n    failed"),
                                HasSubstr("sub-02_dir-AP_epi.nii.gz\n    corrected")));
  expectTheRestCorrected(result, 1);
  EXPECT_FALSE(isThere("sub-02/func/sub-02_task-rest_desc-preproc_bold.nii.gz"));
}

TEST_F(BadStudies, NoDatasetAtAll) {
  fs::remove_all(raw("sub-01"));
  fs::remove_all(raw("sub-02"));
  EXPECT_THAT(bids().err, HasSubstr("has no folder sub-...: it is no BIDS dataset"));
  EXPECT_EQ(bids().status, 1);
  EXPECT_FALSE(fs::exists(out()));
}

}  // namespace mirel

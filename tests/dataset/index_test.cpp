#include "dataset/index.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>

#include "dataset/tinydataset.h"
#include "support/remarks.h"

namespace mirel::dataset {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::vector<std::string> pathsOf(const Index& index) {
  std::vector<std::string> paths;
  for (const IndexedImage& image : index.images) paths.push_back(image.path);
  return paths;
}

}  // namespace

TEST(Index, FindsImagesOfSubjectsWithAndWithoutSessions) {
  const TinyDataset data;
  data.image("sub-02/ses-b/func/sub-02_ses-b_task-x_run-01_bold.nii");
  data.image("sub-01/dwi/sub-01_dwi.nii.gz");
  const Index index = data.index();
  EXPECT_THAT(index.subjects, ElementsAre("01", "02"));
  EXPECT_THAT(pathsOf(index), ElementsAre("sub-01/dwi/sub-01_dwi.nii.gz",
                                          "sub-02/ses-b/func/sub-02_ses-b_task-x_run-01_bold.nii"));
  EXPECT_EQ(index.images[0].session, "");
  EXPECT_EQ(index.images[1].session, "b");
  EXPECT_EQ(index.images[1].datatype, "func");
  EXPECT_EQ(index.images[1].suffix(), "bold");
  EXPECT_EQ(index.images[1].entity("run"), "01");
  EXPECT_THAT(index.warnings, IsEmpty());
}

TEST(Index, LeavesOutDerivativesHiddenFilesAndWhatBidsignoreNames) {
  const TinyDataset data;
  for (const char* path :
       {"derivatives/x/sub-01/func/sub-01_bold.nii", "sourcedata/sub-01/func/sub-01_bold.nii",
        "code/sub-01_bold.nii", "sub-01/.git/sub-01_bold.nii", "sub-01/func/.sub-01_bold.nii",
        "sub-01/func/sub-01_task-pilot_bold.nii", "sub-03/func/sub-03_bold.nii",
        "sub-01/func/sub-01_task-a_bold.nii"})
    data.image(path);
  data.text(".bidsignore", "*_task-pilot_*\nsub-03/\n");
  EXPECT_THAT(pathsOf(data.index()), ElementsAre("sub-01/func/sub-01_task-a_bold.nii"));
  EXPECT_THAT(data.index().subjects, ElementsAre("01"));
}

TEST(Index, TellsALinkWhoseContentsWereNotFetched) {
  const TinyDataset data;
  fs::create_directories(data.file("sub-01/func"));
  fs::create_symlink("../../.git/annex/objects/aa/bb",
                     data.file("sub-01/func/sub-01_task-a_bold.nii.gz"));
  const Index index = data.index();
  ASSERT_EQ(index.images.size(), 1U);
  EXPECT_THAT(index.images[0].fault,
              AllOf(HasSubstr("link to contents that are not here"),
                    HasSubstr("datalad get sub-01/func/sub-01_task-a_bold.nii.gz")));
}

TEST(Index, SurvivesLinksThatLeadInACircle) {
  const TinyDataset data;
  data.image("sub-01/func/sub-01_task-a_bold.nii");
  fs::create_directory_symlink("..", data.file("sub-01/func/up"));
  fs::create_directory_symlink("loop", data.file("sub-01/loop"));
  const Index index = data.index();
  EXPECT_THAT(pathsOf(index), ElementsAre("sub-01/func/sub-01_task-a_bold.nii"));
  EXPECT_THAT(textsOf(index.warnings),
              ElementsAre(data.file("sub-01/func/up") +
                          " is a link to a folder that it lies in: it is not followed"));
}

TEST(Index, TellsTwoFilesForOneImageAndNamesOfOtherSubjects) {
  const TinyDataset data;
  data.image("sub-01/func/sub-01_task-a_bold.nii");
  data.image("sub-01/func/sub-01_task-a_bold.nii.gz");
  data.image("sub-01/func/sub-02_task-a_bold.nii");
  const Index index = data.index();
  ASSERT_EQ(index.images.size(), 3U);
  EXPECT_THAT(index.images[0].fault, HasSubstr("twice"));
  EXPECT_THAT(index.images[1].fault, HasSubstr("twice"));
  EXPECT_THAT(index.images[2].fault, HasSubstr("not of the subject"));
}

TEST(Index, FindsSidecarsByInheritance) {
  const TinyDataset data;
  data.image("sub-01/func/sub-01_task-a_bold.nii");
  for (const char* path : {"task-a_bold.json", "task-b_bold.json", "sub-01/sub-01_bold.json",
                           "sub-01/func/sub-01_task-a_bold.json"})
    data.text(path, "{}");
  Index index = data.index();
  EXPECT_THAT(index.sidecarsOf(index.images[0]),
              ElementsAre(data.file("task-a_bold.json"), data.file("sub-01/sub-01_bold.json"),
                          data.file("sub-01/func/sub-01_task-a_bold.json")));
  data.text("bold.json", "{}");
  index = data.index();
  EXPECT_THAT(index.sidecarsOf(index.images[0]).front(), data.file("task-a_bold.json"));
  EXPECT_THAT(index.sidecarsPassedOver(index.images[0]), ElementsAre(data.file("bold.json")));
  data.text("sub-01_bold.json", "{}");
  index = data.index();
  EXPECT_THAT(niftifiles::failure([&] { index.sidecarsOf(index.images[0]); }),
              HasSubstr("both describe"));
  fs::remove(data.file("dataset_description.json"));
  index = data.index();
  EXPECT_THAT(index.sidecarsOf(index.images[0]),
              ElementsAre(data.file("sub-01/func/sub-01_task-a_bold.json")));
  EXPECT_THAT(textsOf(index.warnings), ElementsAre(HasSubstr("has no dataset_description.json")));
}

TEST(Index, RefusesWhatIsNoRawDataset) {
  const TinyDataset data;
  const auto fault = [](const std::string& root) {
    return niftifiles::failure([&] { indexDataset(root); });
  };
  EXPECT_EQ(fault(data.root()), data.root() + " has no folder sub-...: it is no BIDS dataset");
  EXPECT_THAT(fault(data.file("none")), HasSubstr("is not there"));
  EXPECT_THAT(fault(data.file("dataset_description.json")), HasSubstr("is a file"));
  data.image("sub-01/func/sub-01_task-a_bold.nii");
  data.text("dataset_description.json", R"({"BIDSVersion": "1.8.0", "DatasetType": "derivative"})");
  EXPECT_THAT(fault(data.root()), HasSubstr("is a dataset of derivatives"));
  data.text("dataset_description.json", "{");
  EXPECT_THAT(textsOf(data.index().warnings), ElementsAre(HasSubstr("dataset_description.json")));
}

TEST(Index, ListsTenThousandFilesInASecondOrSo) {
  const TinyDataset data;
  for (int subject = 100; subject < 600; ++subject)
    for (int run = 10; run < 20; ++run) {
      const std::string name = "sub-" + std::to_string(subject);
      const std::string stem = name + "/func/" + name + "_task-a_run-" + std::to_string(run);
      data.text(stem + "_bold.nii", "");
      data.text(stem + "_bold.json", "{}");
    }
  const auto start = std::chrono::steady_clock::now();
  const Index index = data.index();
  for (const IndexedImage& image : index.images) EXPECT_EQ(index.sidecarsOf(image).size(), 1U);
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(index.images.size(), 5000U);
  RecordProperty("milliseconds", static_cast<int>(1000 * passed.count()));
  EXPECT_LT(passed.count(), 10.0) << "a second or so on an idle machine";
}

}  // namespace mirel::dataset

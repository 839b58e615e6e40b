#include "bids/inheritance.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace fs = std::filesystem;

namespace {

/// A dataset in ds, and what stands above it.
struct Dataset : testing::Test {
  TemporaryFolder folder;
  const std::string image = file("sub-01/func/sub-01_task-rest_run-1_bold.nii.gz");

  void SetUp() override {
    fs::create_directories(file("sub-01/func"));
    put("dataset_description.json");
  }
  std::string file(const std::string& name) const { return folder.file("ds/" + name); }
  std::string put(const std::string& name, const std::string& text = "{}") const {
    writeText(file(name), text);
    return file(name);
  }
  std::string fault() const {
    return failure([&] { static_cast<void>(bids::findSidecar(image)); });
  }
};

/// Works in another folder as long as it lives.
struct WorkingFolder {
  const fs::path before = fs::current_path();
  explicit WorkingFolder(const std::string& folder) { fs::current_path(folder); }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;
  ~WorkingFolder() { fs::current_path(before); }
};

}  // namespace

TEST_F(Dataset, SidecarsApplyFromTheRootDownToTheImage) {
  const std::string root = put("task-rest_bold.json");
  const std::string subject = put("sub-01/sub-01_bold.json");
  const std::string own = put("sub-01/func/sub-01_task-rest_run-1_bold.json");
  EXPECT_THAT(bids::applicableSidecars(image), ElementsAre(root, subject, own));
  fs::remove(root);
  fs::remove(own);
  EXPECT_THAT(bids::applicableSidecars(image), ElementsAre(subject));
  fs::remove(subject);
  EXPECT_THAT(bids::applicableSidecars(image), IsEmpty());
  EXPECT_FALSE(bids::findSidecar(image));
}

TEST_F(Dataset, EntitiesMayStandInAnyOrderAndMayBeMissing) {
  const std::string suffixAlone = put("bold.json");
  const std::string exchanged = put("sub-01/func/run-1_sub-01_bold.json");
  EXPECT_THAT(bids::applicableSidecars(image), ElementsAre(suffixAlone, exchanged));
}

TEST_F(Dataset, WhatDoesNotApplyIsLeftAlone) {
  for (const char* name :
       {"epi.json", "task-rest_sbref.json", "task-move_bold.json", "run-01_bold.json",
        "acq-fast_bold.json", "task-rest.json", "task-rest_.json", "bold", "bold.txt", "bold.json~",
        "bold.nii.json", "rest_bold.json", "_bold.json", "sub-01_b0_bold.json", ".bold.json",
        "sub-01/func/sub-01_task-rest_run-1_dir-AP_bold.json", "sub-01/func/BOLD.json"})
    put(name, "not read");
  fs::create_directories(file("sub-02"));
  put("sub-02/bold.json", "not read");
  writeText(folder.file("bold.json"), "above the dataset");
  EXPECT_THAT(bids::applicableSidecars(image), IsEmpty());
}

TEST_F(Dataset, TheNearestDescriptionIsTheRoot) {
  put("bold.json");
  writeText(folder.file("dataset_description.json"), "{}");
  writeText(folder.file("task-rest_bold.json"), "{}");
  const std::string subject = put("sub-01/bold.json");
  put("sub-01/dataset_description.json");
  EXPECT_THAT(bids::applicableSidecars(image), ElementsAre(subject));
  put("sub-01/func/dataset_description.json");
  EXPECT_THAT(bids::applicableSidecars(image), IsEmpty());
}

TEST_F(Dataset, OutsideADatasetOnlyTheImagesFolderCounts) {
  fs::remove(file("dataset_description.json"));
  put("bold.json");
  const std::string own = put("sub-01/func/sub-01_bold.json");
  EXPECT_THAT(bids::applicableSidecars(image), ElementsAre(own));
}

TEST_F(Dataset, AnImageWithoutEntitiesHasTheSidecarsOfItsName) {
  put("epi.json");
  const std::string root = put("run 1_b0.json"), own = put("sub-01/run 1_b0.json");
  put("sub-01/b0.json");
  EXPECT_THAT(bids::applicableSidecars(file("sub-01/run 1_b0.nii")), ElementsAre(root, own));
}

TEST_F(Dataset, TheMostSpecificOfOneFolderCountsAlone) {
  put("bold.json", R"({"TotalReadoutTime": 0.07})");
  put("sub-01/func/sub-01_task-rest_bold.json",
      R"({"PhaseEncodingDirection": "j", "EchoTime": 0.05})");
  const std::string root = put("task-rest_bold.json", R"({"RepetitionTime": 2})");
  const std::string own =
      put("sub-01/func/sub-01_task-rest_run-1_bold.json", R"({"PhaseEncodingDirection": "j-"})");
  EXPECT_THAT(bids::applicableSidecars(image), ElementsAre(root, own));
  EXPECT_THAT(bids::sidecarsPassedOver(image),
              ElementsAre(file("bold.json"), file("sub-01/func/sub-01_task-rest_bold.json")));
  const auto sidecar = bids::findSidecar(image);
  ASSERT_TRUE(sidecar);
  EXPECT_EQ(nameOf(*sidecar->phaseEncoding()), "j-");
  EXPECT_FALSE(sidecar->readout(65)) << "what only the others have is not taken";
  EXPECT_FALSE(sidecar->json().contains("EchoTime"));
  EXPECT_TRUE(sidecar->json().contains("RepetitionTime"));
}

// The image that the general name was written for has it as its own.
TEST_F(Dataset, TheImageWithoutTheEntityHasTheOtherSidecar) {
  put("sub-01/func/sub-01_task-rest_run-1_bold.json");
  const std::string own = put("sub-01/func/sub-01_task-rest_bold.json");
  const std::string other = file("sub-01/func/sub-01_task-rest_bold.nii.gz");
  EXPECT_THAT(bids::applicableSidecars(other), ElementsAre(own));
  EXPECT_THAT(bids::sidecarsPassedOver(other), IsEmpty());
}

TEST_F(Dataset, TwoInOneFolderAreRefusedByName) {
  const std::string one = put("run-1_bold.json"), other = put("task-rest_bold.json");
  EXPECT_THAT(fault(), AllOf(StartsWith(one + " and " + other + " both describe " + image),
                             HasSubstr("one")));
  EXPECT_EQ(bids::findSidecar(image, other)->fileNames(), std::vector<std::string>{other});
  fs::remove(other);
  const std::string same = put("bold.json"), again = put("sub-01/func/task-rest_sub-01_bold.json"),
                    last = put("sub-01/func/sub-01_task-rest_bold.json");
  EXPECT_THAT(fault(), StartsWith(last + " and " + again + " both describe")) << "same entities";
  put("sub-01/func/sub-01_task-rest_run-1_bold.json");
  EXPECT_THAT(bids::applicableSidecars(image),
              ElementsAre(one, file("sub-01/func/sub-01_task-rest_run-1_bold.json")));
}

TEST_F(Dataset, RelativeImagesHaveRelativeSidecars) {
  put("bold.json");
  put("sub-01/func/sub-01_bold.json");
  const fs::path name = fs::path(image).filename();
  {
    const WorkingFolder here(file("."));
    EXPECT_THAT(bids::applicableSidecars(("sub-01/func" / name).string()),
                ElementsAre("bold.json", "sub-01/func/sub-01_bold.json"));
  }
  const WorkingFolder here(file("sub-01/func"));
  EXPECT_THAT(bids::applicableSidecars(name.string()),
              ElementsAre("../../bold.json", "sub-01_bold.json"));
  EXPECT_THAT(bids::applicableSidecars(("../func" / name).string()),
              ElementsAre("../../bold.json", "sub-01_bold.json"));
}

TEST_F(Dataset, LinkedImagesBelongWhereTheLinkIs) {
  fs::create_directories(folder.file("store"));
  writeText(folder.file("store/bold.json"), "not read");
  writeText(folder.file("store/key.nii.gz"), "");
  fs::create_symlink(folder.file("store/key.nii.gz"), image);
  const std::string root = put("task-rest_bold.json");
  EXPECT_THAT(bids::applicableSidecars(image), ElementsAre(root));
  // Content that was not fetched is not silently passed over.
  fs::create_symlink(folder.file("store/none"), file("sub-01/bold.json"));
  EXPECT_THAT(fault(), StartsWith(file("sub-01/bold.json") + " cannot be opened"));
}

TEST_F(Dataset, AFolderThatCannotBeListedIsNamed) {
  EXPECT_THAT(failure([&] { bids::applicableSidecars(file("none/bold.nii")); }),
              StartsWith(file("none") + " cannot be searched for sidecars"));
}

TEST_F(Dataset, NearerFilesOverrideFieldByField) {
  const std::string root = put("bold.json", R"({"PhaseEncodingDirection": "j",
      "TotalReadoutTime": 0.05, "SliceTiming": [0, 1], "EchoTime": 0.03})");
  const std::string own = put("sub-01/func/sub-01_bold.json",
                              R"({"PhaseEncodingDirection": "j-", "SliceTiming": [2]})");
  const auto sidecar = bids::findSidecar(image);
  ASSERT_TRUE(sidecar);
  EXPECT_EQ(nameOf(*sidecar->phaseEncoding()), "j-");
  EXPECT_EQ(sidecar->phaseEncodingFile(), own);
  const auto readout = sidecar->readout(65);
  EXPECT_EQ(readout->seconds, 0.05);
  EXPECT_EQ(readout->source, bids::ReadoutSource::totalReadoutTime);
  EXPECT_EQ(readout->file, root);
  EXPECT_EQ(sidecar->json().at("SliceTiming").at(0).number(), 2);
  EXPECT_EQ(sidecar->json().at("EchoTime").number(), 0.03);
  EXPECT_EQ(sidecar->title(), own + " (with " + root + ")");
}

TEST_F(Dataset, FaultsNameTheFileThatTheValueIsFrom) {
  const std::string root = put("bold.json", R"({"PhaseEncodingDirection": "y"})");
  const std::string middle = put("sub-01/bold.json", R"({"TotalReadoutTime": 50})");
  const std::string own = put("sub-01/func/sub-01_bold.json", R"({"EffectiveEchoSpacing": "1"})");
  const auto sidecar = bids::findSidecar(image);
  ASSERT_TRUE(sidecar);
  EXPECT_EQ(sidecar->title(), own + " (with " + middle + ", " + root + ")");
  const auto readoutFault = [&] {
    return failure([&] { static_cast<void>(bids::findSidecar(image).value().readout(65)); });
  };
  EXPECT_THAT(failure([&] { static_cast<void>(sidecar->phaseEncoding()); }), StartsWith(root));
  EXPECT_THAT(readoutFault(), HasSubstr("TotalReadoutTime in " + middle + " is 50 s"));
  fs::remove(middle);
  EXPECT_THAT(readoutFault(),
              StartsWith(own + " has a field EffectiveEchoSpacing that is not a number"));
  put("bold.json", "[]");
  EXPECT_THAT(fault(), StartsWith(root + " is JSON, but not an object"));
}

TEST_F(Dataset, AContradictionBetweenTwoFilesNamesBoth) {
  const std::string root = put("bold.json", R"({"TotalReadoutTime": 0.05})");
  const std::string own = put("sub-01/func/sub-01_bold.json", R"({"EffectiveEchoSpacing": 0.001})");
  EXPECT_EQ(bids::findSidecar(image).value().readout(65)->contradiction,
            root + " contradicts " + own +
                ": its TotalReadoutTime is 0.05 s, but the latter's EffectiveEchoSpacing times "
                "(lines - 1) is 0.064 s; the TotalReadoutTime is taken");
}

}  // namespace mirel

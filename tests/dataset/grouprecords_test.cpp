#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "base/error.h"
#include "dataset/group.h"
#include "support/messageof.h"
#include "support/temporaryfolder.h"

namespace mirel::dataset {

// Output folders with records that nobody expected.

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

/// While it lives, folders without permissions cannot be listed, whoever runs the tests.
class AsNobody {
 public:
  AsNobody() { changed = geteuid() == 0 && seteuid(65534) == 0; }
  ~AsNobody() {
    if (changed && seteuid(0) != 0) std::abort();
  }
  AsNobody(const AsNobody&) = delete;
  AsNobody& operator=(const AsNobody&) = delete;

 private:
  bool changed = false;
};

class GroupRecords : public testing::Test {
 protected:
  std::string out() const { return folder.file("out"); }
  void SetUp() override {
    fs::create_directories(out() + "/sub-01/func");
    fs::create_directories(out() + "/sub-01/fmap");
  }
  void record(const std::string& path, const std::string& content) const {
    folder.write("out/sub-01/" + path + ".json", content);
  }
  void series(const std::string& sources) const {
    record("func/sub-01_task-rest_desc-preproc_bold",
           R"({"Sources": )" + sources + R"(, "Mirel": {"Series": {"Warnings": ["one"]}}})");
  }

  TemporaryFolder folder;
};

}  // namespace

TEST_F(GroupRecords, AFieldOfAnyNameIsNoError) {
  for (const char* field :
       {"bids::", "bids::sub-01", "bids::sub-01/fmap/sub-01_warp.h5", "bids::nothing.nii", "x"}) {
    series(R"(["bids:raw:a", ")" + std::string(field) + R"("])");
    const std::vector<GroupRow> rows = groupRows(out());
    ASSERT_EQ(rows.size(), 1U) << field;
    EXPECT_EQ(rows[0].warnings, 1) << field;
    EXPECT_FALSE(rows[0].fieldHz) << field;
  }
  series(R"(["bids:raw:a"])");
  EXPECT_EQ(groupRows(out())[0].field, "");
  series(R"({"no": "list"})");
  EXPECT_EQ(groupRows(out())[0].source, "");
}

TEST_F(GroupRecords, TheFieldOfASeriesTellsOfItsPair) {
  series(R"(["bids:raw:a", "bids::sub-01/fmap/sub-01_desc-preproc_fieldmap.nii.gz"])");
  record(
      "fmap/sub-01_desc-preproc_fieldmap",
      R"({"Mirel": {"Verdict": {"Trust": "doubtful", "FieldHz": 12, "FieldRangeHz": [-30, 45]}, "Warnings": ["a", "b"],
                       "Options": {"HeadMotion": {"TranslationMm": [3, 0, 4]}}}})");
  const GroupRow row = groupRows(out()).at(0);
  EXPECT_EQ(row.field, "sub-01/fmap/sub-01_desc-preproc_fieldmap.nii.gz");
  EXPECT_EQ(row.verdict, "doubtful");
  EXPECT_EQ(row.fieldHz, 12);
  EXPECT_EQ(row.fieldLowHz, -30);
  EXPECT_EQ(row.fieldHighHz, 45);
  EXPECT_EQ(row.motionMm, 5);
  EXPECT_EQ(row.warnings, 3);
}

TEST_F(GroupRecords, TheImagesOfAPairHaveTheFieldOfItsSeries) {
  const std::string pair = R"({"Sources": ["bids:raw:sub-01/fmap/sub-01_dir-AP_epi.nii.gz",
      "bids:raw:sub-01/fmap/sub-01_dir-PA_epi.nii.gz"], "Mirel": {"Verdict": {"FieldHz": 9}}})";
  for (const char* name :
       {"dir-AP_desc-voxels_vdm", "desc-preproc_fieldmap", "desc-preproc_magnitude",
        "desc-uncertainty_fieldmap", "dir-AP_desc-preproc_epi", "dir-PA_desc-preproc_epi"})
    record("fmap/sub-01_" + std::string(name), pair);
  series(R"(["bids:raw:a", "bids::sub-01/fmap/sub-01_desc-preproc_fieldmap.nii.gz"])");
  folder.write("out/sub-01/fmap/sub-01_desc-preproc_fieldmap_report.html", "");
  const std::vector<GroupRow> rows = groupRows(out());
  ASSERT_EQ(rows.size(), 3U);
  for (const GroupRow& row : rows) {
    EXPECT_EQ(row.field, "sub-01/fmap/sub-01_desc-preproc_fieldmap.nii.gz") << row.image;
    EXPECT_EQ(row.fieldPage, "sub-01/fmap/sub-01_desc-preproc_fieldmap_report.html") << row.image;
  }
  EXPECT_EQ(rows[1].source, "bids:raw:sub-01/fmap/sub-01_dir-PA_epi.nii.gz");
  fs::remove(out() + "/sub-01/fmap/sub-01_desc-preproc_fieldmap.json");
  EXPECT_EQ(groupRows(out())[0].field, "sub-01/fmap/sub-01_dir-AP_desc-voxels_vdm.nii.gz");
}

TEST_F(GroupRecords, AFolderThatCannotBeListedIsAnErrorAndNotHalfATable) {
  series(R"(["bids:raw:a"])");
  fs::create_directories(out() + "/sub-02");
  fs::permissions(folder.file(""), fs::perms::all);
  fs::permissions(out() + "/sub-02", fs::perms::none);
  const std::string message = [&] {
    const AsNobody nobody;
    return messageOf<Error>([&] { groupRows(out()); });
  }();
  fs::permissions(out() + "/sub-02", fs::perms::owner_all);
  EXPECT_THAT(message, HasSubstr("cannot be listed to its end"));
}

}  // namespace mirel::dataset

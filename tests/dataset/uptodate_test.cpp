#include "dataset/uptodate.h"

#include <gtest/gtest.h>

#include "base/error.h"
#include "support/temporaryfolder.h"

namespace mirel::dataset {

TEST(UpToDate, AFileIsReadOnceForAllItsResults) {
  const TemporaryFolder folder;
  const std::string file = folder.write("image", "before");
  Checksums sums;
  const std::string before = sums.of(file);
  folder.write("image", "after");
  EXPECT_EQ(sums.of(file), before);
  EXPECT_NE(Checksums().of(file), before);
  EXPECT_THROW(sums.of(folder.file("absent")), Error);
}

TEST(UpToDate, RecordsThatCannotBeReadMeanNo) {
  const TemporaryFolder folder;
  const std::string stem = folder.file("sub-01_desc-preproc_bold");
  folder.write("sub-01_desc-preproc_bold.nii.gz", "");
  Checksums sums;
  for (const char* record : {"", "{", "[]", "{}", R"({"Mirel": 1})", R"({"Mirel": {}})",
                             R"({"Mirel": {"Version": "1", "Inputs": {}, "Options": []}})"}) {
    folder.write("sub-01_desc-preproc_bold.json", record);
    EXPECT_FALSE(isPairUpToDate({stem}, {"a"}, {"b"}, "1", sums)) << record;
    EXPECT_FALSE(isSeriesUpToDate(stem, "a", "b", true, "1", sums)) << record;
  }
}

}  // namespace mirel::dataset

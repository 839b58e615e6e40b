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
    EXPECT_FALSE(isPairUpToDate({stem}, {"a"}, {"b"}, InterpolationKernel::cubic, "1", sums))
        << record;
    EXPECT_FALSE(isSeriesUpToDate(stem, "a", "b", {.align = true}, "1", sums)) << record;
  }
}

// A series that was corrected by hand, into the folder of the dataset's results.
TEST(UpToDate, ASeriesOfAnotherInterpolationIsNot) {
  const TemporaryFolder folder;
  const std::string series = folder.write("raw.nii.gz", "series"),
                    field = folder.write("field.nii.gz", "field");
  const std::string stem = folder.file("sub-01_desc-preproc_bold");
  folder.write("sub-01_desc-preproc_bold.nii.gz", "");
  Checksums sums;
  SeriesSettings wanted{.modulation = Modulation::on};
  const auto isUpToDate = [&](const std::string& interpolation) {
    folder.write("sub-01_desc-preproc_bold.json",
                 R"({"Mirel": {"Version": "1", "Field": {"SHA256": ")" + sums.of(field) +
                     R"("}, "Series": {"SHA256": ")" + sums.of(series) +
                     R"("}, "Options": {"Modulation": true, "FloatOutput": false, )" +
                     R"("Interpolation": ")" + interpolation + R"("}}})");
    return isSeriesUpToDate(stem, series, field, wanted, "1", sums);
  };
  EXPECT_TRUE(isUpToDate("cubic"));
  EXPECT_FALSE(isUpToDate("linear"));
  wanted.interpolation = InterpolationKernel::linear;
  EXPECT_TRUE(isUpToDate("linear"));
  EXPECT_FALSE(isUpToDate("cubic"));
  wanted.align = true;
  EXPECT_FALSE(isUpToDate("linear"));
}

}  // namespace mirel::dataset

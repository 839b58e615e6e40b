#include "dataset/group.h"

#include <gtest/gtest.h>

namespace mirel::dataset {

namespace {

std::vector<GroupRow> rowsWith(const std::vector<double>& fieldHz) {
  std::vector<GroupRow> rows;
  for (std::size_t n = 0; n < fieldHz.size(); ++n) {
    GroupRow row;
    row.image = row.field = "sub-" + std::to_string(n);
    row.fieldHz = fieldHz[n];
    rows.push_back(row);
  }
  return rows;
}

}  // namespace

TEST(Group, OutliersLieFarFromTheMedianOfAllFields) {
  std::vector<GroupRow> rows = rowsWith({20, 21, 22, 23, 24, 90});
  markOutliers(rows);
  for (std::size_t n = 0; n < 5; ++n) EXPECT_EQ(rows[n].outlier, "") << n;
  EXPECT_EQ(rows[5].outlier, "field_hz");
}

TEST(Group, FewFieldsTellNothingAboutOutliers) {
  std::vector<GroupRow> rows = rowsWith({20, 21, 22, 90});
  markOutliers(rows);
  EXPECT_EQ(rows[3].outlier, "");
}

TEST(Group, AFieldThatCorrectsManyImagesCountsOnce) {
  std::vector<GroupRow> rows = rowsWith({20, 21, 22, 23, 24, 90});
  for (int n = 0; n < 20; ++n) rows.push_back(rows[5]);
  markOutliers(rows);
  EXPECT_EQ(rows[5].outlier, "field_hz");
  EXPECT_EQ(rows.back().outlier, "field_hz");
  EXPECT_EQ(rows[0].outlier, "");
}

TEST(Group, ASeriesWhoseSignIsOppositeIsAnOutlierOnItsOwn) {
  std::vector<GroupRow> rows = rowsWith({20, 21, 22, 23, 24, 90});
  rows[5].signCheck = rows[0].signCheck = "opposite";
  rows[1].signCheck = "undecided";
  markOutliers(rows);
  EXPECT_EQ(rows[5].outlier, "field_hz,sign_check");
  EXPECT_EQ(rows[0].outlier, "sign_check");
  EXPECT_EQ(rows[1].outlier, "");
}

TEST(Group, OfMotionEachSeriesCountsAndNotItsField) {
  std::vector<GroupRow> rows = rowsWith({20, 20, 20, 20, 20, 20});
  for (std::size_t n = 0; n < rows.size(); ++n) {
    rows[n].field = "one";
    rows[n].motionWithinMm = n == 3 ? 9.0 : 0.1 * static_cast<double>(n);
  }
  markOutliers(rows);
  for (std::size_t n = 0; n < rows.size(); ++n)
    EXPECT_EQ(rows[n].outlier, n == 3 ? "motion_within" : "") << n;
}

TEST(Group, MotionHasAColumnWhereASeriesTellsIt) {
  std::vector<GroupRow> rows = rowsWith({20, 21});
  EXPECT_EQ(groupTsv(rows).find("motion_within"), std::string::npos);
  EXPECT_EQ(groupDictionary(rows).find("motion_within"), std::string::npos);
  rows[1].motionWithinMm = 0.0;
  const std::string table = groupTsv(rows);
  EXPECT_NE(table.find("\tmotion_within\tsign_check"), std::string::npos);
  EXPECT_NE(table.find("\tn/a\tn/a\t0\tn/a\nsub-1"), std::string::npos);
  EXPECT_NE(table.find("\t0\tn/a\t0\tn/a\n"), std::string::npos);
  EXPECT_NE(groupDictionary(rows).find("\"motion_within\""), std::string::npos);
}

TEST(Group, WhatIsNotKnownIsNotAvailable) {
  const std::string table = groupTsv(rowsWith({20.5}));
  EXPECT_EQ(table.substr(table.find('\n') + 1),
            "sub-0\tn/a\tsub-0\tn/a\t20.5\tn/a\tn/a\tn/a\tn/a\tn/a\tn/a\tn/a\tn/a\tn/a\t0\tn/a\n");
}

}  // namespace mirel::dataset

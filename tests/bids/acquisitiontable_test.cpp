#include "bids/acquisitiontable.h"

#include <gmock/gmock.h>

#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using testing::AllOf;
using testing::HasSubstr;

namespace {

struct AcquisitionTable : testing::Test {
  TemporaryFolder folder;
  const std::string name = folder.file("acqparams.txt");

  std::vector<bids::TableRow> read(const std::string& text) const {
    writeText(name, text);
    return bids::readAcquisitionTable(name);
  }
  std::string fault(const std::string& text) const {
    return failure([&] { read(text); });
  }
  std::string directionIn(const nifti::Header& header, const std::string& row) const {
    return nameOf(bids::directionIn(header, read(row).front()));
  }
};

/// 64 x 64 x 30 voxels of 3 x 3 x 4 mm whose first axis runs to the right (+1) or to the left (-1).
nifti::Header grid(int toTheRight, int code = 1) {
  nifti::Header header;
  header.dims = {64, 64, 30};
  glm::dmat4 affine(1.0);
  affine[0][0] = 3 * toTheRight;
  affine[1][1] = 3;
  affine[2][2] = 4;
  affine[3] = {-94.5 * toTheRight, -94.5, -58, 1};
  header.setAffine(affine, code);
  return header;
}

}  // namespace

TEST_F(AcquisitionTable, RowsOfFourNumbers) {
  const auto rows = read("0 -1 0 0.0476\n\n 0\t1 0  4.76e-2 \r\n");
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].vector, glm::dvec3(0, -1, 0));
  EXPECT_EQ(rows[0].seconds, 0.0476);
  EXPECT_EQ(rows[0].number, 1);
  EXPECT_EQ(rows[1].vector, glm::dvec3(0, 1, 0));
  EXPECT_EQ(rows[1].seconds, 0.0476);
  EXPECT_EQ(rows[1].number, 2);
}

// The program's own axis points left: of an image stored to the right it is the first one reversed.
TEST_F(AcquisitionTable, OnlyTheFirstAxisDependsOnTheStorage) {
  const nifti::Header right = grid(1), left = grid(-1);
  EXPECT_EQ(directionIn(right, "-1 0 0 0.05"), "i");
  EXPECT_EQ(directionIn(right, "1 0 0 0.05"), "i-");
  EXPECT_EQ(directionIn(left, "1 0 0 0.05"), "i");
  EXPECT_EQ(directionIn(left, "-1 0 0 0.05"), "i-");
  for (const nifti::Header& header : {right, left}) {
    EXPECT_EQ(directionIn(header, "0 1 0 0.05"), "j");
    EXPECT_EQ(directionIn(header, "0 -1 0 0.05"), "j-");
    EXPECT_EQ(directionIn(header, "0 0 1 0.05"), "k");
    EXPECT_EQ(directionIn(header, "0 0.005 -1 0.05"), "k-");
  }
  // Without an orientation such programs take an image to be radiological.
  EXPECT_EQ(directionIn(grid(1, 0), "1 0 0 0.05"), "i");
}

// What could not be read is no end of the table.
TEST_F(AcquisitionTable, AFaultOfReadingIsToldApartFromTheEnd) {
  EXPECT_EQ(failure([] { bids::readAcquisitionTable("/proc/self/mem"); }),
            "/proc/self/mem cannot be read: Input/output error");
}

TEST_F(AcquisitionTable, WhatIsNoTableIsRefusedWithTheRow) {
  EXPECT_THAT(fault(""), AllOf(HasSubstr("acqparams.txt"), HasSubstr("has no rows")));
  EXPECT_THAT(fault("0 1 0 0.05\n0 1 0\n"), HasSubstr("has 3 numbers in row 2"));
  EXPECT_THAT(fault("0 1 0 0.05 1\n"), HasSubstr("has 5 numbers in row 1"));
  EXPECT_THAT(fault("0 1 0 0,05\n"),
              AllOf(HasSubstr("row 1 has \"0,05\""), HasSubstr("is that a decimal comma?")));
  EXPECT_THAT(fault("\n0 1 0 0.05\n\n0 1 0\n"), HasSubstr("has 3 numbers in row 4"));
  EXPECT_THAT(fault("\xEF\xBB\xBF"
                    "0 1 0 0.05\n"),
              HasSubstr("begins with a byte-order mark"));
  EXPECT_THAT(fault("0 1 0 nan\n"), HasSubstr("row 1 has \"nan\""));
  EXPECT_THAT(fault("0 2 0 0.05\n"), HasSubstr("not 1 long in row 1 (0 2 0)"));
  EXPECT_THAT(fault("0.7071 0.7071 0 0.05\n"), HasSubstr("between two axes in row 1"));
  EXPECT_THAT(fault("0 1 0 47.6\n"), HasSubstr("the readout time in row 1"));
  EXPECT_THAT(fault("0 1 0 0\n"), HasSubstr("the readout time in row 1"));
  EXPECT_THAT(failure([&] { bids::readAcquisitionTable(folder.file("none.txt")); }),
              HasSubstr("none.txt cannot be opened"));
}

}  // namespace mirel

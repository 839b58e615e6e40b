#include "nifti/gradients.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/error.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using testing::AllOf;
using testing::HasSubstr;

namespace {

struct Gradients : testing::Test {
  TemporaryFolder folder;
  nifti::GradientTable read(const std::string& bvec, const std::string& bval, int volumes) {
    writeText(folder.file("a.bvec"), bvec);
    writeText(folder.file("a.bval"), bval);
    return nifti::readGradients(folder.file("a.bvec"), folder.file("a.bval"), volumes);
  }
  std::string message(const std::string& bvec, const std::string& bval, int volumes) {
    return failure([&] { read(bvec, bval, volumes); });
  }
};

}  // namespace

TEST_F(Gradients, ThreeLinesOfOneNumberPerVolume) {
  const nifti::GradientTable t =
      read("0 1 0 0.5\n0 0 1 0.5\n0 0 0 -0.7\n", "0 1000 1000 2500\n", 4);
  EXPECT_EQ(t.directions[3], glm::vec3(0.5F, 0.5F, -0.7F));
  EXPECT_EQ(t.directions[1], glm::vec3(1, 0, 0));
  EXPECT_EQ(t.bValues, (std::vector<float>{0, 1000, 1000, 2500}));
}

TEST_F(Gradients, OneLinePerVolume) {
  const nifti::GradientTable t = read("0,0,0\r\n1\t0 0\n\n0 1 0\n0 0 1", "0\n1\n2\n3", 4);
  EXPECT_EQ(t.directions[1], glm::vec3(1, 0, 0));
  EXPECT_EQ(t.directions[3], glm::vec3(0, 0, 1));
  EXPECT_EQ(t.bValues[3], 3);
}

TEST_F(Gradients, ThreeByThreeIsThreeLines) {
  const nifti::GradientTable t = read("1 2 3\n4 5 6\n7 8 9\n", "0 0 0", 3);
  EXPECT_EQ(t.directions[0], glm::vec3(1, 4, 7));
}

TEST_F(Gradients, TextsComeBack) {
  const std::string bvec = "0 0.998432 -0.123456\n0 -0.00123457 1\n0 0.5 1e-06\n";
  const std::string bval = "0 995 2500\n";
  const nifti::GradientTable t = read(bvec, bval, 3);
  EXPECT_EQ(nifti::formatDirections(t), bvec);
  EXPECT_EQ(nifti::formatBValues(t), bval);
}

TEST_F(Gradients, FaultsAreNamed) {
  EXPECT_THAT(message("0 1\n0 0\n0 0\n", "0 1000 1000", 2),
              HasSubstr("a.bval holds 3 b-values for 2 volumes"));
  EXPECT_THAT(message("0 1 0\n0 0 1\n0 0 0\n", "0 1000", 2),
              HasSubstr("a.bvec holds 3 directions for 2 volumes"));
  EXPECT_THAT(message("0 1\n0 0 1\n0 0\n", "0 1000", 2), HasSubstr("not a table of directions"));
  EXPECT_THAT(message("0 1\n0 x1\n0 0\n", "0 1000", 2), HasSubstr("\"x1\""));
  EXPECT_THAT(message("0 1\n0 1x\n0 0\n", "0 1000", 2), HasSubstr("\"1x\""));
  EXPECT_THAT(message("0 1\n0 nan\n0 0\n", "0 1000", 2), HasSubstr("\"nan\""));
  EXPECT_THAT(message("0 1\n0 1e99\n0 0\n", "0 1000", 2), HasSubstr("\"1e99\""));
  EXPECT_THAT(message("", "0 1000", 2), HasSubstr("0 directions"));
  EXPECT_THAT(failure([&] { nifti::readGradients(folder.file("no.bvec"), "no.bval", 2); }),
              HasSubstr("no.bvec cannot be opened"));
  EXPECT_THAT(failure([&] { nifti::readGradients(folder.file(""), "no.bval", 2); }),
              HasSubstr("is a directory"));
}

TEST_F(Gradients, VanishingNumbersAreZero) {
  EXPECT_EQ(read("0 1e-60\n0 0\n0 0\n", "0 1000", 2).directions[1], glm::vec3(0));
}

TEST_F(Gradients, DecimalCommasAndForeignBytesAreNamed) {
  EXPECT_THAT(message("0 1\n0 0\n1 0\n", "0,5 1000,5\n", 2),
              AllOf(HasSubstr("a.bval holds 4 b-values for 2 volumes"),
                    HasSubstr("is that a decimal comma?")));
  EXPECT_THAT(message("0,6 1\n0 0\n0,8 0\n", "0 1000\n", 2),
              AllOf(HasSubstr("a.bvec is not a table"), HasSubstr("is that a decimal comma?")));
  EXPECT_THAT(message("0 1\n0 0\n1 0\n",
                      "\xEF\xBB\xBF"
                      "0 1000\n",
                      2),
              HasSubstr("a.bval begins with a byte-order mark"));
  EXPECT_THAT(message("0 1\n0 0\n1 0\x1F\n", "0 1000\n", 2),
              HasSubstr("a.bvec is no text file: line 3"));
  EXPECT_EQ(read("0,1\n0,0\n1,0\n", "0,1000\n", 2).bValues, (std::vector<float>{0, 1000}));
}

}  // namespace mirel

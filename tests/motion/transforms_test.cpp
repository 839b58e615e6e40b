#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <glm/gtc/matrix_transform.hpp>

#include "motion/fsltransforms.h"
#include "motion/numberrows.h"
#include "motion/scannertransforms.h"
#include "support/messageof.h"
#include "support/temporaryfolder.h"

namespace mirel {

namespace {

using testing::HasSubstr;

/// Voxels of 3 x 3 x 4 mm; the first axis runs to the right or to the left.
nifti::Header gridHeader(bool rightwards) {
  nifti::Header header;
  header.dims = {64, 64, 30};
  glm::dmat4 affine = glm::scale(glm::dmat4(1.0), glm::dvec3(rightwards ? 3 : -3, 3, 4));
  affine[3] = {rightwards ? -94.5 : 94.5, -94.5, -58, 1};
  header.setAffine(affine, 1);
  return header;
}

double largestDifference(const glm::dmat4& a, const glm::dmat4& b) {
  double largest = 0;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row)
      largest = std::max(largest, std::fabs(a[column][row] - b[column][row]));
  return largest;
}

// The head in the volume lies 2 mm to the right and 3 mm to the front of the reference.
glm::dmat4 known() { return glm::translate(glm::dmat4(1.0), glm::dvec3(2, 3, 0)); }

struct Transforms : testing::Test {
  TemporaryFolder folder;

  std::string write(const std::string& name, const std::string& content) const {
    std::filesystem::create_directories(std::filesystem::path(folder.file(name)).parent_path());
    std::ofstream(folder.file(name)) << content;
    return folder.file(name);
  }
  // What a matrix of FSL between two images of one grid says in the scanner's coordinates.
  static glm::dmat4 fromReference(const glm::dmat4& m, const nifti::Header& header) {
    const glm::dmat4 fsl = fslFromScanner(header, "grid");
    return glm::inverse(glm::inverse(fsl) * m * fsl);
  }
};

}  // namespace

TEST_F(Transforms, FslCountsTheFirstAxisTowardsTheLeft) {
  const glm::dmat4 m =
      readFslMatrix(write("MAT_0001", "1 0 0 2  \n0 1 0 -3  \n0 0 1 0  \n0 0 0 1  \n"));
  for (const bool rightwards : {true, false})
    EXPECT_LT(largestDifference(fromReference(m, gridHeader(rightwards)), known()), 1e-12);
}

TEST_F(Transforms, FslTurnsAboutTheCentreThatItIsGiven) {
  EXPECT_LT(
      largestDifference(
          fromReference(fslMatrixOf({0, 0, 0, 2, -3, 0}, {50, 60, 70}), gridHeader(true)), known()),
      1e-12);
  const glm::dvec3 centre(95, 80, 50);
  const glm::dmat4 turned = fslMatrixOf({0, 0, 0.1, 0, 0, 0}, centre);
  EXPECT_NEAR(turned[1][0], 0.099833, 1e-6);  // row 1, column 2
  EXPECT_NEAR(turned[0][1], -0.099833, 1e-6);
  EXPECT_LT(glm::length(glm::dvec3(turned * glm::dvec4(centre, 1)) - centre), 1e-12);
  EXPECT_NEAR(fslMatrixOf({0, 0.1, 0, 0, 0, 0}, centre)[2][0], -0.099833, 1e-6);
  EXPECT_NEAR(fslMatrixOf({0.1, 0, 0, 0, 0, 0}, centre)[2][1], 0.099833, 1e-6);
}

TEST_F(Transforms, ThoseInTheScannersCoordinates) {
  EXPECT_LT(largestDifference(afniMatrixOf({1, 0, 0, -2, 0, 1, 0, -3, 0, 0, 1, 0}), known()),
            1e-12);
  EXPECT_LT(largestDifference(spmMatrixOf({-2, -3, 0, 0, 0, 0}), known()), 1e-12);
  const glm::dmat4 third = glm::inverse(spmMatrixOf({0, 0, 0, 0, 0, 0.1}));
  EXPECT_NEAR(third[1][0], 0.099833, 1e-6);
  const glm::dmat4 second = glm::inverse(spmMatrixOf({0, 0, 0, 0, 0.1, 0}));
  EXPECT_NEAR(second[2][0], 0.099833, 1e-6);
}

TEST_F(Transforms, ItkHasOneAfterTheOther) {
  const std::vector<glm::dmat4> read = readItkTransforms(
      write("hmc.txt",
            "#Insight Transform File V1.0\n#Transform 0\nTransform: AffineTransform_float_3_3\n"
            "Parameters: 1 0 0 0 1 0 0 0 1 0 0 0\nFixedParameters: 0 0 0\n\n#Transform 1\n"
            "Transform: MatrixOffsetTransformBase_double_3_3\n"
            "Parameters: 1 0 0 0 1 0 0 0 1 -2 -3 0\nFixedParameters: 10 20 30\n"));
  ASSERT_EQ(read.size(), 2U);
  EXPECT_EQ(read[0], glm::dmat4(1.0));
  EXPECT_LT(largestDifference(read[1], known()), 1e-12);
}

TEST_F(Transforms, ItkTextIsReadAsItWasWritten) {
  glm::dmat4 turned = glm::rotate(glm::dmat4(1.0), 0.1, glm::dvec3(1, 2, -3));
  turned[3] = {1.0 / 3, -2e-17, 1e9 / 7, 1};
  const std::vector<glm::dmat4> motions = {glm::dmat4(1.0), turned, known()};
  const std::string file = write("found.txt", formatItkTransforms(motions));
  EXPECT_EQ(readItkTransforms(file), motions);
  EXPECT_THAT(readTransformWords(file)[1],
              testing::ElementsAre("Parameters:", "1", "0", "0", "0", "1", "0", "0", "0", "1", "0",
                                   "0", "0"));
}

// p -> R (p - c) + c + t: with R a quarter turn about z, a point above the centre stays.
TEST_F(Transforms, ItkTurnsAboutItsFixedParameters) {
  const glm::dmat4 m = readItkTransforms(
      write("one.txt",
            "Transform: AffineTransform_double_3_3\n"
            "Parameters: 0 -1 0 1 0 0 0 0 1 0 0 5\nFixedParameters: 10 20 30\n"))[0];
  // The centre is at (-10, -20, 30) with x to the right and y to the front.
  EXPECT_LT(glm::length(glm::dvec3(m * glm::dvec4(-10, -20, 30, 1)) - glm::dvec3(-10, -20, 35)),
            1e-12);
  EXPECT_LT(glm::length(glm::dvec3(m * glm::dvec4(-11, -20, 30, 1)) - glm::dvec3(-10, -21, 35)),
            1e-12);
}

}  // namespace mirel

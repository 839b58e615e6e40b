#include "convert/newproject.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <iomanip>
#include <random>
#include <sstream>

#include "files/project.h"
#include "support/niftifiles.h"

namespace mirel {

using namespace niftifiles;
using convert::newProject;
using testing::HasSubstr;

namespace {

std::string printed(const Project& project) {
  std::ostringstream text;
  project.printTo(text);
  return text.str();
}

/// An oblique image whose numbers have more digits than a header has room for.
nifti::Header obliqueImage(unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> angle(-3, 3), size(0.3, 7), place(-150, 150);
  nifti::Header image;
  image.dims = {5, 6, 7};
  image.volumes = 3;
  image.repetitionTimeSeconds = size(random);
  const double a = angle(random), b = angle(random);
  const glm::dvec3 row(std::cos(a), std::sin(a), 0);
  const glm::dvec3 column(-std::sin(a) * std::cos(b), std::cos(a) * std::cos(b), std::sin(b));
  glm::dmat4 affine(1.0);
  affine[0] = glm::dvec4(row * size(random), 0);
  affine[1] = glm::dvec4(column * size(random), 0);
  affine[2] = glm::dvec4(glm::cross(row, column) * size(random), 0);
  affine[3] = {place(random), place(random), place(random), 1};
  image.setAffine(affine, 1);
  return image;
}

struct NewProjects : testing::TestWithParam<ProjectKind> {
  convert::NewProject description{GetParam(), SampleFormat::float32, "a b", "in put.nii.gz"};
  TemporaryFolder folder;
  std::string name = folder.file("a b." + nameOf(GetParam()));
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Projects, NewProjects, testing::Values(ProjectKind::fmr, ProjectKind::dmr),
                         [](const auto& test) { return nameOf(test.param); });

TEST_P(NewProjects, AReaderFindsTheSameLines) {
  for (unsigned seed = 0; seed < 50; seed++) {
    const Project project = newProject(obliqueImage(seed), description);
    EXPECT_EQ(project.kind(), GetParam());
    writeText(name, printed(project));
    const Project read(name, ProjectContent::headerOnly);
    EXPECT_EQ(printed(read), printed(project));
    EXPECT_EQ(read.header().Prefix.value(), "a b");
    EXPECT_EQ(read.header().FirstDataSourceFile.value(), "in put.nii.gz");
    EXPECT_EQ(read.header().sampleFormat(), SampleFormat::float32);
    EXPECT_EQ(read.header().dimensions(), glm::ivec3(5, 6, 7));
  }
}

TEST_P(NewProjects, LinesStandInOneColumnAndEveryLineIsThere) {
  const std::string text = printed(newProject(obliqueImage(1), description));
  std::istringstream lines(text);
  int found = 0;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    found++;
    EXPECT_EQ(line.find_first_not_of(' ', colon + 1), 34U) << line;
  }
  EXPECT_EQ(found, GetParam() == ProjectKind::fmr ? 55 : 58);
}

// Nine digits, then the nearest float: 4.33137631999 has a nearest float of its own, but its nine
// digits, 4.33137632, need not be in the middle of the same interval.
TEST_P(NewProjects, NumbersAreThoseThatNineDigitsAreReadAs) {
  for (unsigned seed = 0; seed < 200; seed++) {
    const nifti::Header image = obliqueImage(seed);
    const Project project = newProject(image, description);
    const auto expectRead = [&](const Line<float>& line, double value) {
      std::stringstream text;
      text << std::setprecision(9) << value;
      float wanted = 0;
      text >> wanted;
      EXPECT_EQ(line.value(), wanted) << line.getName();
      EXPECT_NEAR(static_cast<double>(line.value()), value, 1e-7 * std::fabs(value));
    };
    const ProjectHeader& header = project.header();
    expectRead(header.InplaneResolutionX, glm::length(glm::dvec3(image.affine()[0])));
    expectRead(header.InplaneResolutionY, glm::length(glm::dvec3(image.affine()[1])));
    expectRead(header.SliceThickness, glm::length(glm::dvec3(image.affine()[2])));
  }
}

TEST_P(NewProjects, WhatAHeaderCannotHoldIsRefusedByName) {
  nifti::Header image = obliqueImage(1);
  image.setAffine(glm::dmat4(1e39), 1);
  EXPECT_THAT(
      failure([&] { newProject(image, description); }),
      testing::AllOf(HasSubstr("in put.nii.gz"), HasSubstr("cannot hold the number 1e+39")));
  image.setAffine(glm::dmat4(2.0), 1);
  description.prefix = "a\nb";
  EXPECT_THAT(failure([&] { newProject(image, description); }), HasSubstr("line feed"));
}

TEST_P(NewProjects, AnImageWithoutOrientationIsNotVerified) {
  nifti::Header image = obliqueImage(1);
  EXPECT_TRUE(newProject(image, description).header().PosInfosVerified.value());
  image.sformCode = image.qformCode = 0;
  image.repetitionTimeSeconds = 0;
  const Project project = newProject(image, description);
  EXPECT_FALSE(project.header().PosInfosVerified.value());
  EXPECT_TRUE(project.header().PosInfosVerified.isSet());
  EXPECT_FALSE(project.header().TimeResolutionVerified.value());
  EXPECT_EQ(project.header().TR.value(), 0);
}

}  // namespace mirel

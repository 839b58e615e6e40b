#include "files/project.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "files/ioerror.h"
#include "support/projectfiles.h"

namespace mirel {

namespace {

std::string printed(const Project& project) {
  std::ostringstream text;
  project.printTo(text);
  return text.str();
}

class EitherKind : public testing::TestWithParam<ProjectKind> {
 protected:
  EitherKind() {
    sketch.displayVolume = 1;
    writeFmr(folder.file("run1.fmr"), sketch);
    writeDmr(folder.file("run1.dmr"), sketch);
  }

  std::string dataFile(const std::string& stem) const {
    return folder.file(stem + dataExtensionOf(GetParam()));
  }

  TemporaryFolder folder;
  ProjectSketch sketch;
  std::string name = folder.file("run1." + nameOf(GetParam()));
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Projects, EitherKind, testing::Values(ProjectKind::fmr, ProjectKind::dmr),
                         [](const auto& test) { return nameOf(test.param); });

TEST_P(EitherKind, IsReadWithItsData) {
  const Project project(name, ProjectContent::withData);
  EXPECT_EQ(project.kind(), GetParam());
  EXPECT_EQ(project.fmr() != nullptr, GetParam() == ProjectKind::fmr);
  EXPECT_EQ(project.dmr() != nullptr, GetParam() == ProjectKind::dmr);
  EXPECT_EQ(project.header().fileName, name);
  EXPECT_EQ(project.header().NrOfSlices.value(), 4);
  EXPECT_EQ(project.dataFileName(), dataFile("run1"));
  ASSERT_EQ(project.volumes().size(), 2U);
  EXPECT_EQ(project.volumes()[1].at(3, 2, 1), 1123.0F);
}

TEST_P(EitherKind, HeaderAloneNeedsNoData) {
  std::filesystem::remove(dataFile("run1"));
  Project project(name, ProjectContent::headerOnly);
  EXPECT_TRUE(project.volumes().empty());
  EXPECT_THROW(project.load(), OpenFileError);
  EXPECT_THROW(Project(name, ProjectContent::withData), OpenFileError);
}

TEST_P(EitherKind, IsLoadedLaterAndSavedUnderAnotherName) {
  Project project(name, ProjectContent::headerOnly);
  project.load();
  ASSERT_EQ(project.volumes().size(), 2U);
  project.saveAs(folder.file("copy." + nameOf(GetParam())));
  EXPECT_EQ(project.dataFileName(), dataFile("copy"));
  EXPECT_EQ(textOf(dataFile("copy")), textOf(dataFile("run1")));
  EXPECT_EQ(textOf(project.header().fileName), printed(project));
}

TEST_P(EitherKind, SavesWhatIsInMemory) {
  Project project(name, ProjectContent::withData);
  project.volumes().pop_back();
  project.volumes()[0].setAll(7.0F);
  project.save();
  const Project again(name, ProjectContent::withData);
  EXPECT_EQ(again.header().NrOfVolumes.value(), 1);
  EXPECT_EQ(again.volumes()[0], Volume<float>(6, 8, 4, 7.0F));
}

TEST_P(EitherKind, ABlankOneHasNoLinesAndTouchesNoFile) {
  const Project project = Project::blank(GetParam(), folder.file("new"));
  EXPECT_EQ(project.kind(), GetParam());
  EXPECT_EQ(project.header().fileName, folder.file("new"));
  EXPECT_EQ(printed(project), "\n");
  EXPECT_TRUE(project.volumes().empty());
  EXPECT_FALSE(fileExists(folder.file("new")));
}

TEST(Project, IsADmrUnlessItsNameSaysFmr) {
  const TemporaryFolder folder;
  writeDmr(folder.file("run1.dmr"), {});
  std::filesystem::rename(folder.file("run1.dmr"), folder.file("run1.text"));
  EXPECT_EQ(Project(folder.file("run1.text"), ProjectContent::withData).kind(), ProjectKind::dmr);
}

}  // namespace mirel

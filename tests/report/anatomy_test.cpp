#include "report/anatomy.h"

#include <gmock/gmock.h>

#include <glm/gtc/matrix_transform.hpp>

#include "base/error.h"
#include "nifti/image.h"
#include "support/temporaryfolder.h"

namespace {

using namespace mirel;
using namespace mirel::report;
using testing::HasSubstr;

const Grid fine{{40, 44, 36}, glm::translate(glm::dmat4(1), glm::dvec3(-20, -22, -18))};

// A bright ball in the middle of the scanner.
Anatomy ballOf(float radius) {
  Anatomy ball{"sub-01_T1w.nii", fine, Volume<float>(fine.dims), ""};
  for (int z = 0; z < fine.dims.z; ++z)
    for (int y = 0; y < fine.dims.y; ++y)
      for (int x = 0; x < fine.dims.x; ++x)
        ball.image.at(x, y, z) =
            glm::length(glm::dvec3(x - 20, y - 22, z - 18)) <= radius ? 100.0F : 1.0F;
  return ball;
}

Grid coarseAt(double x) {
  return {{20, 22, 18},
          glm::scale(glm::translate(glm::dmat4(1), glm::dvec3(x, -22, -18)), glm::dvec3(2, 2, 2))};
}

std::string faultOf(const nifti::Header& header, const std::string& file) {
  nifti::Writer writer(file, header);
  for (int t = 0; t < header.volumes; ++t) writer.write(Volume<float>(header.dims, 1.0F));
  writer.finish();
  try {
    readAnatomy(file);
  } catch (const Error& error) {
    return error.what();
  }
  return "";
}

TEST(Anatomy, LiesOnOtherGridsByTheAffines) {
  const Volume<float> head = headOn(coarseAt(-20), ballOf(15));
  // 10 and 18 mm away from the middle.
  EXPECT_EQ(head.at(15, 11, 9), 1);
  EXPECT_EQ(head.at(19, 11, 9), 0);
  EXPECT_EQ(overlapOf(head, head), 1);
  // The same head in a grid that begins three voxels further to the right.
  const Volume<float> moved = headOn(coarseAt(-14), ballOf(15));
  EXPECT_EQ(moved.at(12, 11, 9), 1);
  EXPECT_EQ(moved.at(16, 11, 9), 0);
  EXPECT_LT(overlapOf(head, moved), 0.9);
}

TEST(Anatomy, IsDoubtedWhereItIsOfAnotherSubjectOrElsewhere) {
  const Anatomy ball = ballOf(15);
  EXPECT_TRUE(doubtsAbout(ball, coarseAt(-20), "sub-01_epi.nii").empty());
  const auto other = doubtsAbout(ball, coarseAt(-20), "sub-02_epi.nii");
  ASSERT_EQ(other.size(), 1U);
  EXPECT_THAT(other[0].text, HasSubstr("is of sub-01 and sub-02_epi.nii of sub-02"));
  EXPECT_THAT(doubtsAbout(ball, coarseAt(10), "a.nii").at(0).text, HasSubstr("covers only"));
  EXPECT_THROW(doubtsAbout(ball, coarseAt(500), "a.nii"), Error);
}

TEST(Anatomy, IsOneVolumeThatSaysWhereItLies) {
  const TemporaryFolder folder;
  nifti::Header header;
  header.dims = {4, 5, 6};
  header.setAffine(fine.affine, 1);
  EXPECT_EQ(faultOf(header, folder.file("good.nii")), "");
  nifti::Header wrong = header;
  wrong.volumes = 3;
  EXPECT_THAT(faultOf(wrong, folder.file("series.nii")), HasSubstr("has 3 volumes"));
  wrong = header;
  wrong.dims.z = 1;
  EXPECT_THAT(faultOf(wrong, folder.file("slice.nii")), HasSubstr("is a single slice"));
  wrong = header;
  wrong.sformCode = wrong.qformCode = 0;
  EXPECT_THAT(faultOf(wrong, folder.file("lost.nii")), HasSubstr("does not say where it lies"));
}

}  // namespace

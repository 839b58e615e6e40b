#include "report/views.h"

#include <gtest/gtest.h>

#include <glm/gtc/matrix_transform.hpp>
#include <map>

#include "report/encode.h"

namespace {

using namespace mirel;
using namespace mirel::report;
using picture::SlicePlane;

// A block of a head in 20 x 24 x 16 voxels, displaced most at k = 9, y = 15.
struct Block {
  Volume<float> head{20, 24, 16, 0.0F}, shift{20, 24, 16, 0.0F}, image{20, 24, 16, 0.0F};

  Block() {
    for (int z = 2; z < 12; ++z)
      for (int y = 4; y < 20; ++y)
        for (int x = 5; x < 15; ++x) {
          head.at(x, y, z) = 1;
          image.at(x, y, z) = 100 + static_cast<float>(x + y + z);
          shift.at(x, y, z) = (z == 11 ? 1.0F : 0.1F) + (y == 19 ? 1.0F : 0.0F);
        }
  }
};

TEST(ChosenSlices, AreTheMiddleOfTheHeadAndTheLargestDisplacement) {
  const Block block;
  const std::vector<ChosenSlice> slices = chosenSlices(block.head, block.shift, glm::dmat4(1));
  ASSERT_EQ(slices.size(), 5U);
  EXPECT_EQ(slices[0].plane, SlicePlane::axial);
  EXPECT_EQ(slices[0].index, 6);
  EXPECT_FALSE(slices[0].most);
  EXPECT_EQ(slices[1].index, 11);
  EXPECT_TRUE(slices[1].most);
  EXPECT_EQ(slices[2].plane, SlicePlane::coronal);
  EXPECT_EQ(slices[2].index, 11);
  EXPECT_EQ(slices[3].index, 19);
  // Nothing differs from side to side: one slice.
  EXPECT_EQ(slices[4].plane, SlicePlane::sagittal);
}

TEST(ChosenSlices, AreCountedTowardsThePatientsRight) {
  const Block block;
  glm::dmat4 mirrored(1);
  mirrored[2][2] = -1;  // slices from the top
  const std::vector<ChosenSlice> slices = chosenSlices(block.head, block.shift, mirrored);
  EXPECT_EQ(slices[1].index, 15 - 11);
}

TEST(ChosenSlices, MeetWhereTheFirstOfEachPlaneAre) {
  EXPECT_EQ(meetingOf({{SlicePlane::axial, 6, false},
                       {SlicePlane::axial, 11, true},
                       {SlicePlane::coronal, 12, true},
                       {SlicePlane::sagittal, 9, true}}),
            glm::ivec3(9, 12, 6));
}

TEST(Views, HaveLettersOnlyWhereTheSidesAreKnown) {
  const Block block;
  const Grid grid{{20, 24, 16}, glm::dmat4(1)};
  for (const bool known : {true, false}) {
    const Views views("a.nii", grid, known, block.head, block.shift, "o-");
    const Json card = views.beforeAndAfter("A", {block.image, block.image, {0, 1}});
    const Json& first = card.at("views").at(0);
    EXPECT_EQ(first.at("letters").is_null(), !known);
    if (known) {
      EXPECT_EQ(first.at("letters").at("top").string(), "A");
    }
    EXPECT_EQ(first.at("before").string(), first.at("after").string());
    EXPECT_EQ(first.at("contour").string(), views.contours().at(0).at("id").string());
  }
}

TEST(Views, HaveThePixelsThatTheShapeOfVoxelsNeeds) {
  const Block block;
  // {size of slices in mm, width and height of a sagittal picture of 24 x 16 voxels of 2 mm}
  const std::map<double, std::pair<std::string, std::string>> wanted = {
      {2, {"24", "16"}}, {4, {"24", "32"}}, {3, {"48", "48"}}, {3.5, {"96", "112"}}};
  for (const auto& [slice, size] : wanted) {
    const glm::dmat4 affine = glm::scale(glm::dmat4(1), glm::dvec3(2, 2, slice));
    const Views views("a.nii", {{20, 24, 16}, affine}, true, block.head, block.shift, "o-");
    const Json card = views.beforeAndAfter("A", {block.image, block.image, {0, 1}});
    const Json& last = card.at("views").list().back();
    EXPECT_EQ(last.at("width").string(), size.first) << slice;
    EXPECT_EQ(last.at("height").string(), size.second) << slice;
  }
}

TEST(Views, ShowBothStatesInOneWindow) {
  const Block block;
  const Views views("a.nii", {{20, 24, 16}, glm::dmat4(1)}, true, block.head, block.shift, "o-");
  const Volume<float> brighter = block.image * 1.2F;
  const auto window = picture::robustWindow(block.image);
  const Json card = views.beforeAndAfter("A", {brighter, block.image, window});
  const Json same =
      views.beforeAndAfter("A", {brighter, brighter, picture::robustWindow(brighter)});
  // In its own window the brighter image looks as the other does in that one's.
  EXPECT_NE(card.at("views").at(0).at("before").string(),
            card.at("views").at(0).at("after").string());
  EXPECT_NE(card.at("views").at(0).at("before").string(),
            same.at("views").at(0).at("before").string());
}

TEST(Views, HaveAnOutlineOfAnatomyWhereItIsGiven) {
  const Block block;
  Views views("a.nii", {{20, 24, 16}, glm::dmat4(1)}, true, block.head, block.shift, "o-");
  const std::size_t without = views.contours().list().size();
  views.addAnatomy(block.head);
  EXPECT_EQ(views.contours().list().size(), 2 * without);
  const Json card = views.beforeAndAfter("A", {block.image, block.image, {0, 1}});
  const Json outlines = views.contours();
  const Json &own = outlines.at(0), &anatomy = outlines.at(1);
  EXPECT_EQ(card.at("views").at(0).at("anatomy").string(), anatomy.at("id").string());
  EXPECT_NE(own.at("id").string(), anatomy.at("id").string());
  EXPECT_EQ(own.at("path").string(), anatomy.at("path").string());
}

TEST(Views, HaveSmallThumbnails) {
  const Volume<float> image(200, 180, 16, 1.0F), none(200, 180, 16, 0.0F);
  const Views views("a.nii", {{200, 180, 16}, glm::dmat4(1)}, true, image, none, "o-");
  picture::RgbImage expected(40, 36, {51, 51, 51});
  EXPECT_EQ(views.thumbnail(image, {0, 5}), dataAddress(expected));
}

TEST(PathOf, JoinsPiecesThatContinueOneAnother) {
  EXPECT_EQ(pathOf({{{0, 0}, {1, 0.25F}}, {{1, 0.25F}, {2, 1}}, {{5, 5}, {6, 6}}}),
            "M0.0 0.0L1.0 0.2L2.0 1.0M5.0 5.0L6.0 6.0");
}

}  // namespace

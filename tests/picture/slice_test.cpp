#include "picture/slice.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace {

using namespace mirel::picture;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();

// Voxel (x, y, z) of a 2 x 3 x 4 volume is x + 10 y + 100 z.
Volume<float> numbered() {
  Volume<float> volume(2, 3, 4);
  for (int z = 0; z < 4; ++z)
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 2; ++x) volume.at(x, y, z) = static_cast<float>(x + 10 * y + 100 * z);
  return volume;
}

Colour greyOf(float value, Window window) {
  const auto g =
      static_cast<std::uint8_t>(255.0F * (value - window.low) / (window.high - window.low) + 0.5F);
  return {g, g, g};
}

TEST(DrawGrey, ShowsEachPlaneWithUpAtTheTop) {
  const Volume<float> volume = numbered();
  const Window window{0.0F, 321.0F};
  SliceView view;
  view.pixelsPerVoxel = 1;
  view.index = 1;
  const RgbImage axial = drawGrey(volume, view, window);
  ASSERT_EQ(axial.width(), 2);
  ASSERT_EQ(axial.height(), 3);
  EXPECT_EQ(axial.at(1, 0), greyOf(121, window));  // x = 1, y = 2, z = 1
  EXPECT_EQ(axial.at(0, 2), greyOf(100, window));
  view.plane = SlicePlane::coronal;
  const RgbImage coronal = drawGrey(volume, view, window);
  ASSERT_EQ(coronal.height(), 4);
  EXPECT_EQ(coronal.at(1, 0), greyOf(311, window));
  view.plane = SlicePlane::sagittal;
  const RgbImage sagittal = drawGrey(volume, view, window);
  ASSERT_EQ(sagittal.width(), 3);
  EXPECT_EQ(sagittal.at(2, 3), greyOf(21, window));
}

TEST(DrawGrey, StretchesLongVoxels) {
  SliceView view{SlicePlane::coronal, 0, {1.5F, 9.0F, 3.0F}, 2};
  const RgbImage image = drawGrey(numbered(), view, {0, 300});
  EXPECT_EQ(image.width(), 2 * 2);
  EXPECT_EQ(image.height(), 4 * 4);
}

TEST(DrawGrey, CutsOffBeyondTheWindowAndDrawsNanBlack) {
  Volume<float> volume(5, 1, 1);
  const float values[] = {-5.0F, 20.0F, nan, infinite, -infinite};
  volume.copyData(values);
  SliceView view;
  view.pixelsPerVoxel = 1;
  const RgbImage image = drawGrey(volume, view, {0, 10});
  const int expected[] = {0, 255, 0, 255, 0};
  for (int x = 0; x < 5; ++x) EXPECT_EQ(image.at(x, 0)[0], expected[x]) << x;
}

TEST(DrawGrey, RefusesSlicesAndVoxelsThatAreNotThere) {
  const Volume<float> volume = numbered();
  for (const int index : {-1, 4})
    EXPECT_THROW(drawGrey(volume, {SlicePlane::axial, index}, {}), std::out_of_range);
  EXPECT_THROW(drawGrey(volume, {SlicePlane::sagittal, 2}, {}), std::out_of_range);
  EXPECT_THROW(drawGrey(volume, {SlicePlane::axial, 0, {0, 1, 1}}, {}), std::invalid_argument);
  EXPECT_THROW(drawGrey(volume, {SlicePlane::axial, 0, {1, nan, 1}}, {}), std::invalid_argument);
  EXPECT_EQ(sliceCount({2, 3, 4}, SlicePlane::axial), 4);
  EXPECT_EQ(sliceCount({2, 3, 4}, SlicePlane::coronal), 3);
  EXPECT_EQ(sliceCount({2, 3, 4}, SlicePlane::sagittal), 2);
}

TEST(DrawOverlay, IsGreyWhereTheImagesAgree) {
  const Volume<float> first = numbered();
  Volume<float> second = first;
  second.at(1, 2, 0) = 0.0F;
  SliceView view;
  view.pixelsPerVoxel = 1;
  const RgbImage image = drawOverlay(first, {0, 21}, second, {0, 21}, view);
  EXPECT_EQ(image.at(0, 0)[0], image.at(0, 0)[1]);
  EXPECT_EQ(image.at(1, 0), (Colour{255, 0, 0}));
  EXPECT_THROW(drawOverlay(first, {}, Volume<float>(2, 3, 5, 0.0F), {}, view),
               std::invalid_argument);
}

TEST(DivergingColour, IsWhiteAtZeroBlueBelowRedAboveAndGreyForNan) {
  EXPECT_EQ(divergingColour(0.0F), (Colour{255, 255, 255}));
  EXPECT_GT(divergingColour(1.0F)[0], divergingColour(1.0F)[2]);
  EXPECT_LT(divergingColour(-1.0F)[0], divergingColour(-1.0F)[2]);
  EXPECT_EQ(divergingColour(2.0F), divergingColour(1.0F));
  EXPECT_EQ(divergingColour(-50.0F), divergingColour(-1.0F));
  EXPECT_EQ(divergingColour(nan), (Colour{128, 128, 128}));
  Volume<float> map(1, 1, 1, -3.0F);
  SliceView view;
  view.pixelsPerVoxel = 1;
  EXPECT_EQ(drawDiverging(map, view, 6.0F).at(0, 0), divergingColour(-0.5F));
}

TEST(RobustWindow, IsFromTheSecondToTheNinetyEighthPercentileOfTheForeground) {
  // 1000 voxels of air at 0 and a foreground of 101 .. 1100.
  Volume<float> volume(20, 10, 10, 0.0F);
  for (int i = 0; i < 1000; ++i) volume.data()[2 * i] = static_cast<float>(101 + i);
  volume.data()[1] = nan;
  volume.data()[3] = infinite;
  const Window window = robustWindow(volume);
  EXPECT_NEAR(window.low, 120.0F, 12.0F);
  EXPECT_NEAR(window.high, 1080.0F, 2.0F);
}

TEST(RobustWindow, OfConstantsAndOfNothingIsStillAWindow) {
  for (const float value : {0.0F, -7.0F, 5.0F, nan}) {
    const Window window = robustWindow(Volume<float>(3, 3, 3, value));
    EXPECT_GT(window.high, window.low) << value;
  }
  const Window nothing = robustWindow(Volume<float>());
  EXPECT_GT(nothing.high, nothing.low);
}

TEST(RobustLimit, IsAQuantileOfTheMagnitudesThatAreNotZero) {
  Volume<float> map(10, 10, 3, 0.0F);
  for (int i = 0; i < 101; ++i) map.data()[i] = static_cast<float>(i % 2 ? i : -i);
  EXPECT_NEAR(robustLimit(map, 1.0), 100.0F, 1e-5F);
  EXPECT_NEAR(robustLimit(map, 0.5), 50.0F, 1.0F);
  EXPECT_GT(robustLimit(Volume<float>(2, 2, 2, 0.0F)), 0.0F);
}

TEST(SideBySide, GivesEachColumnAndRowTheRoomItNeeds) {
  const Colour red{255, 0, 0}, blue{0, 0, 255};
  const RgbImage sheet = sideBySide(
      {{RgbImage(10, 8, red), ""}, {RgbImage(30, 4, blue), ""}, {RgbImage(20, 5, blue), ""}}, 2);
  EXPECT_EQ(sheet.width(), 6 + 20 + 6 + 30 + 6);
  EXPECT_EQ(sheet.height(), 6 + 8 + 6 + 5 + 6);
  EXPECT_EQ(sheet.at(6 + 5, 6), red);
  EXPECT_EQ(sheet.at(6 + 4, 6), (Colour{0, 0, 0}));
  EXPECT_EQ(sheet.at(32, 8), blue);
  EXPECT_EQ(sheet.at(6, 20), blue);
  EXPECT_THROW(sideBySide({}, 2), std::invalid_argument);
  EXPECT_THROW(sideBySide({{RgbImage(1, 1), ""}}, 0), std::invalid_argument);
}

TEST(SideBySide, LabelsStayAboveTheirPanel) {
  const std::string longLabel(100, 'W');
  const RgbImage sheet = sideBySide({{RgbImage(40, 8), longLabel}, {RgbImage(40, 8), "I"}}, 2);
  EXPECT_EQ(sheet.height(), 6 + 20 + 8 + 6);
  for (int y = 0; y < sheet.height(); ++y)  // neither in the gap nor in the panels
    for (int x = 0; x < sheet.width(); ++x)
      if ((x >= 46 && x < 52) || y >= 26) {
        EXPECT_EQ(sheet.at(x, y), (Colour{0, 0, 0})) << x << " " << y;
      }
  bool written = false;
  for (int x = 52; x < 92; ++x) written = written || sheet.at(x, 14)[0] > 128;
  EXPECT_TRUE(written);
}

}  // namespace

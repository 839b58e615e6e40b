#include "picture/draw.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace {

using namespace mirel;
using namespace mirel::picture;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

// One row of pixels; all are on the grid.
Cut rowOf(const std::vector<float>& values) {
  return {static_cast<int>(values.size()), 1, values, std::vector<char>(values.size(), 1)};
}

TEST(DrawGrey, ShowsTheWindowAndBlackOffTheGrid) {
  Cut cut = rowOf({-5, 0, 5, 20, nan, 20});
  cut.covered[5] = 0;
  const RgbImage image = drawGrey(cut, {0, 10});
  const int expected[] = {0, 0, 128, 255, 0, 0};
  for (int x = 0; x < 6; ++x) {
    const auto g = static_cast<std::uint8_t>(expected[x]);
    EXPECT_EQ(image.at(x, 0), (Colour{g, g, g})) << x;
  }
}

TEST(DrawOverlay, IsGreyWhereTheImagesAgree) {
  const RgbImage image = drawOverlay(rowOf({5, 10, 0}), {0, 10}, rowOf({50, 0, 100}), {0, 100});
  EXPECT_EQ(image.at(0, 0), (Colour{128, 128, 128}));
  EXPECT_EQ(image.at(1, 0), (Colour{255, 0, 0}));
  EXPECT_EQ(image.at(2, 0), (Colour{0, 255, 255}));
  EXPECT_THROW(drawOverlay(rowOf({1}), {}, rowOf({1, 2}), {}), std::invalid_argument);
}

TEST(DrawMap, HasTheColoursOfTheScaleFadedWhereNothingWasMeasured) {
  Cut map = rowOf({0, 3, -6, 6, 6, 0});
  map.covered[4] = 0;
  const RgbImage image = drawMap(map, 6, {1, 1, 1, 0, 1, 0});
  EXPECT_EQ(image.at(0, 0), (Colour{255, 255, 255}));
  EXPECT_EQ(image.at(1, 0), divergingColour(0.5F));
  EXPECT_EQ(image.at(2, 0), divergingColour(-1));
  EXPECT_EQ(image.at(3, 0), mixed({0, 0, 0}, divergingColour(1), 0.25F));
  EXPECT_EQ(image.at(4, 0), (Colour{0, 0, 0}));
  EXPECT_EQ(image.at(5, 0), (Colour{64, 64, 64}));
  EXPECT_EQ(drawMap(map, 6).at(3, 0), divergingColour(1));
  EXPECT_THROW(drawMap(map, 6, {1}), std::invalid_argument);
}

TEST(DrawMapOver, LeavesTheAnatomyWhereTheMapIsZeroAndCoversItAtTheEnds) {
  const Cut anatomy = rowOf({50, 50, 50, 100, 50, 0});
  Cut map = rowOf({0, 6, -60, 6, nan, 6});
  map.covered[3] = 0;
  const RgbImage image = drawMapOver(anatomy, {0, 100}, map, 6, {1, 1, 1, 1, 1, 0});
  const Colour grey{128, 128, 128};
  EXPECT_EQ(image.at(0, 0), grey);
  EXPECT_EQ(image.at(1, 0), mixed(grey, divergingColour(1), 0.85F));
  EXPECT_EQ(image.at(2, 0), mixed(grey, divergingColour(-1), 0.85F));
  EXPECT_EQ(image.at(3, 0), (Colour{255, 255, 255}));  // off the map's grid
  EXPECT_EQ(image.at(4, 0), grey);
  EXPECT_EQ(image.at(5, 0), mixed({0, 0, 0}, divergingColour(1), 0.85F * 0.25F));
}

}  // namespace

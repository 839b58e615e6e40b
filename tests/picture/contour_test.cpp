#include "picture/contour.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <glm/geometric.hpp>
#include <limits>

namespace {

using namespace mirel;
using namespace mirel::picture;

Cut cutOf(int width, int height, const std::function<float(int, int)>& value) {
  Cut cut{width, height, {}, {}};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) cut.values.push_back(value(x, y));
  cut.covered.assign(cut.values.size(), 1);
  return cut;
}

TEST(Contour, OfADiscIsItsCircle) {
  const Cut cut = cutOf(
      41, 37, [](int x, int y) { return static_cast<float>(12.3 - std::hypot(x - 20, y - 18)); });
  const auto line = contourOf(cut, 0.0F);
  ASSERT_GT(line.size(), 50u);
  double length = 0;
  for (const Segment& s : line) {
    for (const glm::vec2 p : {s.from, s.to})
      EXPECT_NEAR(glm::distance(p, glm::vec2(20, 18)), 12.3, 0.02);
    length += static_cast<double>(glm::distance(s.from, s.to));
  }
  EXPECT_NEAR(length, 2 * std::acos(-1.0) * 12.3, 0.3);
}

TEST(Contour, OfAMaskRunsBetweenItsVoxels) {
  const Cut cut =
      cutOf(6, 5, [](int x, int y) { return x >= 2 && x <= 3 && y == 2 ? 1.0F : 0.0F; });
  const auto line = contourOf(cut, 0.5F);
  ASSERT_EQ(line.size(), 6u);
  for (const Segment& s : line)
    for (const glm::vec2 p : {s.from, s.to}) {
      EXPECT_GE(p.x, 1.5F);
      EXPECT_LE(p.x, 3.5F);
      EXPECT_GE(p.y, 1.5F);
      EXPECT_LE(p.y, 2.5F);
    }
}

TEST(Contour, KeepsTwoTouchingCornersApart) {
  const Cut cut = cutOf(
      4, 4, [](int x, int y) { return (x == 1 && y == 1) || (x == 2 && y == 2) ? 1.0F : 0.0F; });
  for (const bool mirrored : {false, true}) {
    Cut shown = cut;
    if (mirrored)
      for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) shown.values[cut.index(x, y)] = cut.values[cut.index(3 - x, y)];
    const auto line = contourOf(shown, 0.5F);
    EXPECT_EQ(line.size(), 8u);
    const glm::vec2 above[] = {mirrored ? glm::vec2(2, 1) : glm::vec2(1, 1),
                               mirrored ? glm::vec2(1, 2) : glm::vec2(2, 2)};
    for (const Segment& s : line) {  // each cuts off one of them, half a pixel away
      EXPECT_NEAR(glm::distance(s.from, s.to), std::sqrt(0.5), 1e-5);
      const glm::vec2 middle = (s.from + s.to) * 0.5F;
      EXPECT_NEAR(std::min(glm::distance(middle, above[0]), glm::distance(middle, above[1])),
                  std::sqrt(0.125), 1e-5);
    }
  }
}

TEST(Contour, CountsWhatIsOffTheGridAsOutside) {
  Cut cut = cutOf(5, 5, [](int, int) { return 1.0F; });
  EXPECT_TRUE(contourOf(cut, 0.5F).empty());
  cut.values[cut.index(2, 2)] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(contourOf(cut, 0.5F).size(), 4u);
  cut = cutOf(5, 5, [](int, int) { return 1.0F; });
  cut.covered[cut.index(2, 2)] = 0;
  EXPECT_EQ(contourOf(cut, 0.5F).size(), 4u);
}

TEST(DrawContour, ColoursTheLineAndDarkensItsRim) {
  RgbImage image(30, 20, {200, 200, 200});
  drawContour(image, {{{-5, 10}, {15, 10}}}, {0, 255, 0});
  EXPECT_EQ(image.at(5, 10), (Colour{0, 255, 0}));
  EXPECT_LT(image.at(5, 12)[1], 200);  // the rim
  EXPECT_EQ(image.at(5, 12)[0], image.at(5, 12)[1]);
  EXPECT_EQ(image.at(5, 14), (Colour{200, 200, 200}));
  EXPECT_EQ(image.at(5, 6), (Colour{200, 200, 200}));
  EXPECT_EQ(image.at(20, 10), (Colour{200, 200, 200}));
  RgbImage wide(30, 20, {200, 200, 200});
  drawContour(wide, {{{-5, 10}, {15, 10}}}, {0, 255, 0}, 5.0F);
  EXPECT_EQ(wide.at(5, 12), (Colour{0, 255, 0}));
  EXPECT_EQ(wide.at(5, 15), (Colour{200, 200, 200}));
  RgbImage untouched(3, 3, {1, 2, 3});
  drawContour(untouched, {}, {0, 255, 0});
  EXPECT_EQ(untouched, RgbImage(3, 3, {1, 2, 3}));
}

}  // namespace

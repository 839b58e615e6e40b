#include "phantom/gradientecho.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <stdexcept>

#include "phantom/phantom.h"

namespace mirel {

TEST(GradientEcho, LosesSignalByTheFieldsChangeThroughASlice) {
  constexpr double echo = 0.03;
  Volume<float> field(glm::ivec3(2, 2, 4));
  for (int z = 0; z < 4; ++z)
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 2; ++x) field.at(x, y, z) = static_cast<float>(x == 0 ? 7 : 20 * z);
  Volume<float> density(glm::ivec3(6, 6, 4), 10.0F);
  dephase(density, field, echo);
  const double angle = std::numbers::pi * echo * 20;
  EXPECT_EQ(density.at(0, 0, 0), 10.0F);  // the field does not change there
  EXPECT_NEAR(density.at(5, 5, 0), 10 * std::sin(angle) / angle, 1e-5);
  EXPECT_NEAR(density.at(3, 1, 2), 10 * std::sin(angle) / angle, 1e-5);
  Volume<float> wrong(glm::ivec3(6, 6, 5), 1.0F);
  EXPECT_THROW(dephase(wrong, field, echo), std::invalid_argument);
}

TEST(GradientEcho, SeriesOfAMovedHeadHasItsFieldAlong) {
  PhantomOptions options;
  options.size = {32, 36, 20};
  options.voxelMm = glm::dvec3(6.5);
  options.noise = 0;
  options.volumes = 1;
  const Phantom plain = makePhantom(options);
  EXPECT_EQ(plain.seriesTruth.size(), 0);
  options.seriesMotion.translationMm = {0, 13, 0};  // two voxels
  const Phantom moved = makePhantom(options);
  EXPECT_TRUE(moved.ap == plain.ap);
  const int x = 16, y = 14, z = 10;
  EXPECT_NEAR(moved.seriesShiftVoxels.at(x, y + 2, z), plain.shiftVoxels.at(x, y, z), 1e-3);
  EXPECT_NEAR(moved.seriesTruth.at(x, y + 2, z), plain.truth.at(x, y, z), 1);
  options.seriesEchoSeconds = 0.03;
  const Phantom echo = makePhantom(options);
  EXPECT_FALSE(echo.seriesVolume(0) == moved.seriesVolume(0));
  options.seriesEchoSeconds = 2;
  EXPECT_THROW(makePhantom(options), std::invalid_argument);
}

}  // namespace mirel

#include "numerics/spikes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "numerics/splitmix.h"
#include "support/compare.h"

namespace mirel {

namespace {

// A bright ball in noisy air, 20 x 22 x 18 voxels.
Volume<float> ball() {
  Volume<float> image(20, 22, 18);
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x) {
        const double r2 = (x - 10) * (x - 10) + (y - 11) * (y - 11) + (z - 9) * (z - 9);
        const std::uint64_t random = splitMix64(static_cast<std::uint64_t>(image.index(x, y, z)));
        const double uniform = static_cast<double>(random >> 11U) * 0x1p-53;
        image.at(x, y, z) = static_cast<float>((r2 < 50 ? 1000 : 20) * (0.8 + 0.4 * uniform));
      }
  return image;
}

Spikes found(Volume<float> image, const std::vector<int>& at, float value) {
  for (const int i : at) image.data()[i] = value;
  return findSpikes(image);
}

TEST(Spikes, ThereAreNoneInAnImageWithoutThem) {
  const Volume<float> image = ball();
  EXPECT_TRUE(findSpikes(image).empty());
  EXPECT_TRUE(compare::same(withoutSpikes(image), image));
}

TEST(Spikes, OneOfAnySizeAndSignIsFoundInAirAndInTheHead) {
  const Volume<float> image = ball();
  for (const float value : {30000.0f, 1e6f, 1e15f, 1e30f, 3.4e38f, -30000.0f, -3.4e38f})
    for (const int at : {0, image.index(10, 11, 9), image.size() - 1}) {
      const Spikes spikes = found(image, {at}, value);
      EXPECT_EQ(spikes.voxels, std::vector<int>{at}) << value;
      EXPECT_EQ(spikes.largest, value);
    }
}

TEST(Spikes, TenAreFoundApartAndInARow) {
  const Volume<float> image = ball();
  std::vector<int> row, apart;
  for (int n = 0; n < 10; ++n) {
    row.push_back(n);
    apart.push_back(717 * n + 3);
  }
  for (const float value : {30000.0f, 1e15f, 1e30f}) {
    EXPECT_EQ(found(image, row, value).voxels, row);
    EXPECT_EQ(found(image, apart, value).voxels, apart);
  }
}

TEST(Spikes, TheyTakeTheMedianOfTheVoxelsAround) {
  Volume<float> image = ball();
  const int middle = image.index(10, 11, 9);
  const float truth = image.data()[middle];
  image.data()[middle] = 1e30f;
  const Volume<float> cleaned = withoutSpikes(image);
  EXPECT_NEAR(cleaned.data()[middle], truth, 200);
  EXPECT_GT(cleaned.data()[middle], 800);
  image.data()[middle] = cleaned.data()[middle];
  EXPECT_TRUE(compare::same(cleaned, image)) << "nothing else changes";
}

// What piles up is brighter than all else, but falls off towards its surroundings.
TEST(Spikes, PiledUpSignalIsNone) {
  Volume<float> image = ball();
  for (int x = 8; x < 12; ++x)
    for (int y = 0; y < 3; ++y) image.at(x, 4 + y, 9) = y == 1 ? 6000.0f : 2500.0f;
  EXPECT_TRUE(findSpikes(image).empty());
}

TEST(Spikes, OneWithinPiledUpSignalIsFound) {
  Volume<float> image = ball();
  for (int x = 8; x < 12; ++x)
    for (int y = 0; y < 3; ++y) image.at(x, 4 + y, 9) = y == 1 ? 6000.0f : 2500.0f;
  const int at = image.index(9, 5, 9);
  EXPECT_EQ(found(image, {at}, 30000).voxels, std::vector<int>{at});
}

TEST(Spikes, TenOfDifferentSizesSideBySideAreFound) {
  Volume<float> image = ball();
  std::vector<int> row;
  for (int n = 0; n < 10; ++n) {
    row.push_back(n);
    image.data()[n] = std::pow(10.0f, static_cast<float>(4 + 3 * n));
  }
  EXPECT_EQ(findSpikes(image).voxels, row);
}

TEST(Spikes, NeitherFactorNorOffsetMatters) {
  const Volume<float> image = ball();
  const std::vector<int> at = {5, 3000};
  for (const float factor : {1e-30f, 1e-3f, 1e3f, 1e30f}) {
    EXPECT_TRUE(findSpikes(image * factor).empty()) << factor;
    EXPECT_EQ(found(image * factor, at, 1e5f * factor).voxels, at) << factor;
  }
  EXPECT_TRUE(findSpikes(image - 20000.0f).empty());
  EXPECT_EQ(found(image - 20000.0f, at, 0).voxels, at);
}

TEST(Spikes, EmptyConstantAndNonFiniteImagesHaveNone) {
  EXPECT_TRUE(findSpikes(Volume<float>(0, 0, 0)).empty());
  EXPECT_TRUE(findSpikes(Volume<float>(8, 8, 8, 5.0f)).empty());
  const float nan = std::nanf(""), infinity = std::numeric_limits<float>::infinity();
  EXPECT_TRUE(findSpikes(Volume<float>(8, 8, 8, nan)).empty());
  Volume<float> image = ball();
  image.data()[0] = nan;
  image.data()[1] = infinity;
  EXPECT_TRUE(findSpikes(image).empty());
  image.data()[2] = 1e20f;
  EXPECT_EQ(findSpikes(image).voxels, std::vector<int>{2});
  EXPECT_TRUE(std::isfinite(withoutSpikes(image).data()[2]));
}

}  // namespace

}  // namespace mirel

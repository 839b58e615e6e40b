#include "picture/headmask.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace {

using namespace mirel;
using namespace mirel::picture;

Volume<float> filled(glm::ivec3 dims, const std::function<float(int, int, int)>& value) {
  Volume<float> volume(dims);
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x) volume.at(x, y, z) = value(x, y, z);
  return volume;
}

double radius(int x, int y, int z) { return std::hypot(x - 15, y - 15, z - 15); }

// Brain to 8 voxels, dark bone to 10, dim skin to 12, noise in the air; an open bottom.
Volume<float> head() {
  return filled({31, 31, 31}, [](int x, int y, int z) {
    const double r = radius(x, y, z + 6);
    const float noise = static_cast<float>((x * 7 + y * 13 + z * 29) % 10);
    return (r < 8 ? 1000.0F : r < 10 ? 0.0F : r < 12 ? 150.0F : 0.0F) + noise;
  });
}

TEST(HeadMask, TakesSkinAndTheBoneThatItEncloses) {
  const Volume<float> mask = headMask(head());
  int wrong = 0, wrongWell = 0;
  for (int z = 0; z < 31; ++z)
    for (int y = 0; y < 31; ++y)
      for (int x = 0; x < 31; ++x) {
        const double r = radius(x, y, z + 6);
        if ((mask.at(x, y, z) == 1) != (r < 12)) {
          ++wrong;
          if (std::abs(r - 12) > 1.5) ++wrongWell;
        }
      }
  EXPECT_EQ(wrongWell, 0);
  EXPECT_LT(wrong, 300);  // of a surface of some 1500 voxels
}

TEST(SignalMask, LeavesOutBoneThatIsOpenToTheBorder) {
  const Volume<float> signal = signalMask(head()), whole = headMask(head());
  EXPECT_EQ(signal.at(15, 15, 9), 1);      // brain
  EXPECT_EQ(signal.at(15 + 9, 15, 9), 0);  // bone
  EXPECT_EQ(whole.at(15 + 9, 15, 9), 1);
  EXPECT_EQ(signal.at(15, 15, 28), 0);
}

TEST(HeadMask, IsThePieceThatHangsTogetherWithItsCavities) {
  const Volume<float> image = filled({30, 20, 20}, [](int x, int y, int z) {
    const bool ball = std::hypot(x - 9, y - 9, z - 9) < 7;
    const bool cavity = std::hypot(x - 9, y - 9, z - 9) < 3;
    const bool aside = x >= 22 && x < 25 && y < 3 && z < 3;
    return (ball && !cavity) || aside ? 500.0F : 1.0F;
  });
  for (const Volume<float>& mask : {signalMask(image), headMask(image)}) {
    EXPECT_EQ(mask.at(9, 9, 9), 1);
    EXPECT_EQ(mask.at(9, 14, 9), 1);
    EXPECT_EQ(mask.at(23, 1, 1), 0);
    EXPECT_EQ(mask.at(17, 17, 17), 0);
  }
}

// Half of the neighbours that it has are no majority: beyond the border there are none.
TEST(SignalMask, ASheetOfOneVoxelOnTheBorderIsTakenOff) {
  const Volume<float> signal = signalMask(filled({20, 20, 20}, [](int x, int y, int z) {
    const bool block = std::abs(x - 10) < 4 && std::abs(y - 10) < 4 && std::abs(z - 10) < 4;
    return x == 0 || block ? 1000.0F : 0.0F;
  }));
  EXPECT_EQ(signal.at(10, 10, 10), 1);
  for (const int y : {0, 5, 10, 19}) EXPECT_EQ(signal.at(0, y, 10), 0);
}

TEST(HeadMask, OfImagesWithoutContrastIsWhatIsAboveZero) {
  EXPECT_EQ(headMask(Volume<float>(5, 5, 5, 0.0F)), Volume<float>(5, 5, 5, 0.0F));
  EXPECT_EQ(headMask(Volume<float>(5, 5, 5, 9.0F)), Volume<float>(5, 5, 5, 1.0F));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(headMask(Volume<float>(5, 5, 5, nan)), Volume<float>(5, 5, 5, 0.0F));
  EXPECT_EQ(headMask(Volume<float>(5, 5, 1, 3.0F)), Volume<float>(5, 5, 1, 1.0F));
}

Volume<float> listed(std::initializer_list<float> values) {
  Volume<float> volume(static_cast<int>(values.size()), 1, 1);
  volume.copyData(values.begin());
  return volume;
}

TEST(MaskLevel, LiesBetweenOutsideAndInside) {
  EXPECT_EQ(maskLevel(listed({0, 1, 0})), 0.5F);
  EXPECT_EQ(maskLevel(listed({0, 255})), 127.5F);
  EXPECT_EQ(maskLevel(listed({0, 0.2F, 0.9F})), 0.5F);
  EXPECT_EQ(maskLevel(listed({0, 2, 1000})), 1.0F);
  EXPECT_EQ(maskLevel(listed({0, 0})), 0.5F);
}

TEST(IsBinary, KnowsMasksFromImages) {
  EXPECT_TRUE(isBinary(listed({0, 1, 0})));
  EXPECT_TRUE(isBinary(listed({0, 255, 255})));
  EXPECT_TRUE(isBinary(listed({0, 0})));
  EXPECT_FALSE(isBinary(listed({0, 1, 2})));
  EXPECT_FALSE(isBinary(listed({0, -1})));
  EXPECT_FALSE(isBinary(listed({0, std::numeric_limits<float>::quiet_NaN()})));
}

}  // namespace

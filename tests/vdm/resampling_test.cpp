#include <gtest/gtest.h>

#include <limits>

#include "reference/vdm.h"
#include "simd/eachvariant.h"
#include "support/compare.h"
#include "support/random_volume.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

const int rowLengths[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 65};

void expectSameLinear(const Volume<float>& image, const Volume<float>& vdm) {
  for (const bool reverse : {false, true}) {
    SCOPED_TRACE(reverse ? "reverse" : "forward");
    Volume<float> wanted(image.dimensions());
    reference::applyVdmYLinear(wanted, image, vdm, reverse);
    forEachVariant([&](SimdVariant) {
      Volume<float> got(image.dimensions(), -77.0f);
      applyVdmYLinear(got, image, vdm, reverse);
      EXPECT_TRUE(compare::same(got, wanted));
    });
  }
}

TEST(LinearResampling, EqualsTheTrilinearReferenceForEverySize) {
  Random random(71);
  for (const glm::ivec3 dims : testSizes())
    for (const float reach : {0.4f, 3.0f, 60.0f}) {
      SCOPED_TRACE(testing::Message()
                   << dims.x << "x" << dims.y << "x" << dims.z << " reach " << reach);
      expectSameLinear(random.volume(dims, -500, 900), random.volume(dims, -reach, reach));
    }
}

TEST(LinearResampling, EqualsTheTrilinearReferenceForEveryRowLength) {
  Random random(72);
  for (const int nx : rowLengths) {
    SCOPED_TRACE(testing::Message() << "rows of " << nx);
    expectSameLinear(random.volume({nx, 9, 2}, -500, 900), random.volume({nx, 9, 2}, -4, 4));
  }
}

// Whole numbers hit the borders exactly; zeros of either sign keep the reference's sign.
TEST(LinearResampling, WholeNumberDisplacementsAndSignedZeros) {
  Random random(73);
  const glm::ivec3 dims(35, 6, 3);
  for (int round = 0; round < 6; ++round) {
    Volume<float> image(dims), vdm(dims);
    for (int i = 0; i < image.size(); ++i) {
      image.data()[i] = random.below(2) ? -0.0f : static_cast<float>(random.below(3) - 1);
      vdm.data()[i] = static_cast<float>(random.below(31) - 15) * (round % 2 ? 0.5f : 1.0f);
    }
    expectSameLinear(image, vdm);
  }
}

// 0 times infinity: the reference's neighbours along x and z then count.
TEST(LinearResampling, OddImageValuesAndDisplacements) {
  Random random(74);
  const glm::ivec3 dims(20, 9, 4);
  for (int round = 0; round < 8; ++round) {
    Volume<float> image = random.volume(dims, -500, 900), vdm = random.volume(dims, -3, 3);
    if (round % 2) sprinkleOddValues(image, random);
    if (round % 3) sprinkleOddValues(vdm, random);
    expectSameLinear(image, vdm);
  }
}

// A single sample that is not finite, wherever it lies, brings its neighbours along x and z in.
TEST(LinearResampling, ASingleInfinityInAnyCorner) {
  Random random(86);
  const glm::ivec3 dims(18, 6, 3);
  const Volume<float> image = random.volume(dims, -500, 900), vdm = random.volume(dims, -2, 2);
  for (const int x : {0, dims.x - 1})
    for (const int y : {0, dims.y - 1})
      for (const int z : {0, dims.z - 1}) {
        SCOPED_TRACE(testing::Message() << x << " " << y << " " << z);
        Volume<float> hurt = image;
        hurt.at(x, y, z) = std::numeric_limits<float>::infinity();
        expectSameLinear(hurt, vdm);
      }
}

TEST(LinearResampling, DoubleImages) {
  Random random(75);
  const glm::ivec3 dims(9, 8, 3);
  Volume<double> image(dims), wanted(dims), got(dims);
  for (int i = 0; i < image.size(); ++i) image.data()[i] = random.uniform(-5.0, 5.0);
  const Volume<float> vdm = random.volume(dims, -3, 3);
  reference::applyVdmYLinear(wanted, image, vdm, false);
  applyVdmYLinear(got, image, vdm, false);
  EXPECT_TRUE(compare::same(got, wanted));
}

}  // namespace

}  // namespace mirel

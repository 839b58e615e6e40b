#include "pair/axischeck.h"

#include <gmock/gmock.h>

#include <sstream>

#include "containers/exchange.h"
#include "numerics/fft/fftw.h"
#include "pair/agreement.h"
#include "pair/foreground.h"
#include "support/smallpair.h"
#include "vdm/estimatepair.h"

namespace mirel {

// By which axis the differences of two images are explained.

namespace {

// Of a head on 80 x 84 x 36 voxels, which are halved once along each axis.
const Phantom& fineHead() {
  static const Phantom head = [] {
    bindEngine();
    PhantomOptions options;
    options.size = {80, 84, 36};
    options.voxelMm = {2.6, 2.6, 3.6};
    options.maxShiftVoxels = 4.0;
    options.volumes = 0;
    return makePhantom(options);
  }();
  return head;
}

AxisAgreement compared(const Volume<float>& first, const Volume<float>& second, glm::dvec3 voxelMm,
                       int axis, int other) {
  const double threshold = headThreshold(meanOf(first, second));
  return compareAxes(first, second, voxelMm, axis, other, estimatorThreshold / threshold,
                     threshold);
}

}  // namespace

TEST(CompareAxes, TheEncodedOneExplainsMore) {
  const Phantom& fine = fineHead();
  const Phantom& coarse = smallPhantom();
  for (const Phantom* head : {&fine, &coarse}) {
    const glm::dvec3 size = head->options.voxelMm;
    const AxisAgreement right = compared(head->ap, head->pa, size, 1, 0);
    EXPECT_GT(*right.along, *right.across + 0.1) << head->options.size.x;
    const AxisAgreement wrong = compared(head->ap, head->pa, size, 0, 1);
    EXPECT_EQ(wrong.along, right.across);
    EXPECT_EQ(wrong.across, right.along);
  }
}

TEST(CompareAxes, HalfTheResolutionTellsNearlyAsMuchAsTheWhole) {
  const Phantom& head = fineHead();
  const Volume<float> mean = meanOf(head.ap, head.pa);
  const double threshold = headThreshold(mean);
  const float scale = static_cast<float>(estimatorThreshold / threshold);
  std::ostringstream log;
  const Volume<float> whole =
      estimatePair(head.ap * scale, head.pa * scale, head.options.voxelMm, {.fast = true}, log);
  const double expected =
      agreementThrough(whole, -whole, 1, head.ap, head.pa, headMask(mean, threshold));
  const AxisAgreement half = compared(head.ap, head.pa, head.options.voxelMm, 1, 0);
  EXPECT_NE(*half.along, expected) << "was not halved";
  EXPECT_NEAR(*half.along, expected, 0.08);
}

TEST(CompareAxes, AnyTwoAxesInAnyOrder) {
  const Phantom& head = fineHead();
  const AxisAgreement asStored = compared(head.ap, head.pa, head.options.voxelMm, 1, 0);
  glm::dvec3 size = head.options.voxelMm;
  std::swap(size.y, size.z);
  const AxisAgreement turned =
      compared(exchangedWithY(head.ap, 2), exchangedWithY(head.pa, 2), size, 2, 0);
  EXPECT_NEAR(*turned.along, *asStored.along, 1e-3);
}

// The estimate's smoothing has no width left where voxels are so long.
TEST(CompareAxes, AnEstimateThatIsNotFiniteExplainsNothing) {
  const Phantom& head = smallPhantom();
  const AxisAgreement found = compared(head.ap, head.pa, glm::dvec3(40.0), 1, 0);
  EXPECT_FALSE(found.along.has_value());
  EXPECT_FALSE(found.across.has_value());
}

}  // namespace mirel

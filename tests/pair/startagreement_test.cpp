#include "pair/startagreement.h"

#include <gtest/gtest.h>

namespace mirel {

namespace {

Volume<float> ramp(float factor, float offset) {
  Volume<float> volume(10, 10, 10);
  for (int i = 0; i < volume.size(); ++i)
    volume.data()[i] = factor * static_cast<float>(i) + offset;
  return volume;
}

const Volume<float> everywhere(10, 10, 10, 1.0F);

}  // namespace

TEST(StartAgreement, ToldWhatIsConstantFromWhatIsNot) {
  const StartAgreement with = agreementWithStart(ramp(0.01F, 2.0F), ramp(0.01F, -1.0F), everywhere);
  EXPECT_NEAR(with.correlation, 1.0, 1e-9);
  EXPECT_NEAR(with.median, 3.0, 1e-5);
  EXPECT_NEAR(with.halfWidthOf95, 0.0, 1e-5);
}

TEST(StartAgreement, OfAMapOfTheOppositeSignIsNegative) {
  const StartAgreement with = agreementWithStart(ramp(0.01F, 0.0F), ramp(-0.01F, 0.0F), everywhere);
  EXPECT_NEAR(with.correlation, -1.0, 1e-9);
  EXPECT_NEAR(with.halfWidthOf95, 0.95 * 10.0, 0.05);
}

TEST(StartAgreement, LooksInTheHeadOnly) {
  Volume<float> head = everywhere, start = ramp(0.01F, 0.0F);
  for (int i = 500; i < 1000; ++i) {
    head.data()[i] = 0.0F;
    start.data()[i] = 1e6F;
  }
  const StartAgreement with = agreementWithStart(ramp(0.01F, 0.0F), start, head);
  EXPECT_EQ(with.median, 0.0);
  EXPECT_EQ(with.halfWidthOf95, 0.0);
  EXPECT_EQ(agreementWithStart(start, start, Volume<float>(10, 10, 10, 0.0F)).correlation, 0.0);
}

TEST(StartAgreement, CountsTheZerosOfMaskedFields) {
  Volume<float> start = ramp(0.01F, 1.0F);
  for (int i = 0; i < 200; ++i) start.data()[i] = 0.0F;
  EXPECT_NEAR(agreementWithStart(ramp(0.01F, 1.0F), start, everywhere).shareOfZeros, 0.2, 1e-9);
}

}  // namespace mirel

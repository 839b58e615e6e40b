#include "pair/cutsignal.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "phantom/distort.h"
#include "support/remarks.h"
#include "support/smallpair.h"

namespace mirel {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// Where the brain is, `farther` voxels more along x and y, distorted as the image of a sign is.
Volume<float> brainMask(int farther, float sign) {
  constexpr int cells = 3;
  const Volume<unsigned char>& brain = smallPhantom().brainMask;
  const int nx = brain.nx(), ny = brain.ny();
  Volume<float> wide(brain.dimensions(), 0.0F), fine(cells * nx, cells * ny, brain.nz());
  for (int z = 0; z < brain.nz(); ++z) {
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < nx; ++x)
        for (int v = -farther; v <= farther; ++v)
          for (int u = -farther; u <= farther; ++u)
            if (brain.at(std::clamp(x + u, 0, nx - 1), std::clamp(y + v, 0, ny - 1), z) != 0)
              wide.at(x, y, z) = 1.0F;
    for (int y = 0; y < fine.ny(); ++y)
      for (int x = 0; x < fine.nx(); ++x) fine.at(x, y, z) = wide.at(x / cells, y / cells, z);
  }
  Volume<float> mask =
      distort(fine, smallPhantom().shiftVoxels * sign, PhaseEncodingAxis::y, cells);
  for (int i = 0; i < mask.size(); ++i) mask.data()[i] = mask.data()[i] > 0.5F ? 1.0F : 0.0F;
  return mask;
}

PairInput cutPair(int farther) {
  PairInput pair = smallPair();
  pair.a.image *= brainMask(farther, 1.0F);
  pair.b.image *= brainMask(farther, -1.0F);
  return pair;
}

}  // namespace

TEST(CutSignal, IsWhatOneImageShowsWhereTheOtherIsZero) {
  Volume<float> first(3, 8, 2, 10.0F), second(3, 8, 2, 5.0F);
  const Volume<float> none(3, 8, 2, 0.0F);
  const auto cutOff = [&] {
    return signalCutOff({first, first, none}, {second, second, none}, 2.0, 1);
  };
  EXPECT_EQ(cutOff(), 0.0);
  first.at(1, 3, 0) = 0.0F;
  EXPECT_NEAR(cutOff(), 100.0 / (47 * 100.0 + 25.0), 1e-6);
  second.at(1, 3, 0) = 0.0F;
  EXPECT_EQ(cutOff(), 0.0);
  for (int y = 0; y < 8; ++y) second.at(2, y, 1) = 0.0F;  // a column that was not acquired
  EXPECT_EQ(cutOff(), 0.0);
}

TEST(CutSignal, OfImagesThatWereCutByMasksOfTheirOwnIsDoubted) {
  const Verdict verdict = estimatePairMap(cutPair(0), {}, noProgress).verdict;
  EXPECT_NE(verdict.trust, Trust::trusted);
  EXPECT_THAT(textsOf(verdict.reasons), Contains(HasSubstr("are exactly 0 in different places")));
}

TEST(CutSignal, OfImagesThatWereCutInTheAirIsNot) {
  EXPECT_THAT(textsOf(estimatePairMap(cutPair(4), {}, noProgress).verdict.reasons), IsEmpty());
}

}  // namespace mirel

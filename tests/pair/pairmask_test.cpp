#include "pair/pairmask.h"

#include <gmock/gmock.h>

#include <limits>

#include "nifti/image.h"
#include "support/niftifiles.h"
#include "support/remarks.h"

namespace mirel {

using niftifiles::failure;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct PairMasks : testing::Test {
  TemporaryFolder folder;
  std::string file = folder.file("sub-1_mask.nii.gz");
  nifti::Header header;
  PairInput pair;
  Volume<float> values{4, 5, 6, 1.0F};

  PairMasks() {
    header.dims = values.dimensions();
    header.setAffine(glm::dmat4(1.0), 1);
    pair.a.options.file = "sub-1_epi.nii.gz";
    pair.a.header = header;
    values.at(0, 0, 0) = 0.0F;
  }
  void read(int volumes = 1) {
    nifti::Header own = header;
    own.volumes = volumes;
    nifti::Writer writer(file, own);
    for (int t = 0; t < volumes; ++t) writer.write(values);
    writer.finish();
    readMask(file, pair);
  }
  std::string fault(int volumes = 1) {
    return failure([&] { read(volumes); });
  }
};

}  // namespace

TEST_F(PairMasks, AreTakenAsTheyAre) {
  values.at(1, 1, 1) = 0.25F;
  read();
  EXPECT_EQ(pair.mask->weights, values);
  EXPECT_EQ(pair.mask->stamp.fileName(), file);
  EXPECT_THAT(pair.notes, IsEmpty());
  EXPECT_THAT(pair.warnings, IsEmpty());
}

TEST_F(PairMasks, OfZeroAndAnotherValueHoldZeroAndOne) {
  const Volume<float> expected = values;
  values *= 255.0F;
  read();
  EXPECT_EQ(pair.mask->weights, expected);
  EXPECT_THAT(textsOf(pair.notes), ElementsAre("the 255 of the mask " + file + " is taken for 1"));
}

TEST_F(PairMasks, OfOneValueEverywhereAreWhole) {
  values = Volume<float>(values.dimensions(), 3.0F);
  read();
  EXPECT_EQ(pair.mask->weights, Volume<float>(values.dimensions(), 1.0F));
}

TEST_F(PairMasks, AreNoLabelsAndNoImages) {
  values.at(2, 2, 2) = 14.0F;
  EXPECT_EQ(fault(),
            file + " holds values from 0 to 14: a mask holds 0 to 1, or 0 and one other value");
  values.at(2, 2, 2) = -1.0F;
  EXPECT_THAT(fault(), HasSubstr("from -1 to 1"));
  values.at(2, 2, 2) = std::numeric_limits<float>::quiet_NaN();
  EXPECT_THAT(fault(), HasSubstr("NaN or infinite"));
}

TEST_F(PairMasks, LeaveSomething) {
  values *= 0.0F;
  EXPECT_THAT(fault(), HasSubstr("is 0 everywhere"));
}

TEST_F(PairMasks, HaveOneVolume) { EXPECT_THAT(fault(2), HasSubstr("has 2 volumes")); }

TEST_F(PairMasks, HaveTheGridOfThePair) {
  pair.a.header.dims.z = 7;
  EXPECT_THAT(fault(), AllOf(HasSubstr("has 4 x 5 x 6 voxels"), HasSubstr("4 x 5 x 7")));
  pair.a.header = header;
  glm::dmat4 moved(1.0);
  moved[3][0] = 0.06;
  pair.a.header.setAffine(moved, 1);
  EXPECT_THAT(fault(), HasSubstr("lies at another place than sub-1_epi.nii.gz (up to 0.06 voxels"));
  moved[3][0] = 0.04;
  pair.a.header.setAffine(moved, 1);
  EXPECT_EQ(fault(), "nothing");
}

TEST(MaskedColumns, AreCutWhereTheyAreTakenInPart) {
  const Volume<float> head(4, 10, 6, 1.0F);
  Volume<float> weights = head;
  EXPECT_EQ(partInCutColumns(head, weights, 1), 0.0);
  // Whole slices, as far as the encoded axis goes.
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 4; ++x) weights.at(x, y, 0) = 0.0F;
  EXPECT_EQ(partInCutColumns(head, weights, 1), 0.0);
  EXPECT_EQ(partInCutColumns(head, weights, 2), 1.0);
  // One column of four in one of the five slices that are left.
  for (int y = 0; y < 5; ++y) weights.at(0, y, 1) = 0.0F;
  EXPECT_NEAR(partInCutColumns(head, weights, 1), 5.0 / 195.0, 1e-9);
  EXPECT_EQ(partInCutColumns(head, Volume<float>(4, 10, 6, 0.0F), 1), 0.0);
}

// A block of signal 100 in air of 5, with rims of 40.
TEST(MaskBorder, LiesOnSignalOrInAir) {
  Volume<float> image(8, 30, 8, 5.0F);
  const auto blockFrom = [&](int first, float value, Volume<float>& block) {
    for (int z = 0; z < 8; ++z)
      for (int y = first; y < 30 - first; ++y)
        for (int x = 0; x < 8; ++x) block.at(x, y, z) = value;
  };
  blockFrom(6, 40.0F, image);
  blockFrom(7, 100.0F, image);
  const auto signalFrom = [&](int first) {
    Volume<float> mask(image.dimensions(), 0.0F);
    blockFrom(first, 1.0F, mask);
    return signalAtBorder(image, mask, 1);
  };
  EXPECT_EQ(signalFrom(6), 0);
  EXPECT_EQ(signalFrom(5), 0);
  EXPECT_NEAR(signalFrom(7), 0.35, 1e-6);
  EXPECT_EQ(signalFrom(0), 0);
  // A part of the head, left out of all.
  Volume<float> all(image.dimensions(), 1.0F);
  for (int y = 12; y < 16; ++y) all.at(3, y, 3) = 0.0F;
  EXPECT_EQ(signalAtBorder(image, all, 1), 0);
}

TEST_F(PairMasks, OfAnotherSubjectAreWarnedOf) {
  pair.a.options.file = "sub-2_epi.nii.gz";
  read();
  EXPECT_THAT(textsOf(pair.warnings),
              ElementsAre(AllOf(HasSubstr("is of sub-1"), HasSubstr("of sub-2"))));
}

}  // namespace mirel

#include "pair/foreground.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "nifti/image.h"
#include "support/niftifiles.h"
#include "support/smallpair.h"

namespace mirel {

namespace {

// Of the head that `mask` marks and of the air outside, the fractions above the threshold.
std::pair<double, double> foundIn(const Volume<float>& image, const Volume<unsigned char>& head,
                                  double threshold) {
  double inHead = 0, head1 = 0, inAir = 0, air = 0;
  for (int i = 0; i < image.size(); ++i) {
    const bool above = static_cast<double>(image.data()[i]) > threshold;
    (head.data()[i] ? head1 : air) += 1;
    (head.data()[i] ? inHead : inAir) += above;
  }
  return {inHead / head1, inAir / air};
}

}  // namespace

TEST(HeadThreshold, SeparatesBrainFromAirInASimulatedHead) {
  const Phantom& phantom = smallPhantom();
  const double threshold = headThreshold(phantom.truth);
  EXPECT_GT(foundIn(phantom.truth, phantom.brainMask, threshold).first, 0.97);
  EXPECT_LT(foundIn(phantom.truth, phantom.headMask, threshold).second, 0.05);
}

TEST(HeadThreshold, FollowsTheScaleOfTheImage) {
  const Volume<float>& image = smallPhantom().ap;
  const double threshold = headThreshold(image);
  for (const double scale : {0.001, 0.02, 0.5, 3.7, 60.0, 1000.0}) {
    const double scaled = headThreshold(image * static_cast<float>(scale));
    EXPECT_NEAR(scaled / scale, threshold, threshold / 1000) << scale;
  }
  // Where scaling is exact, so is the threshold, and the scaled image has the same bits.
  EXPECT_EQ(headThreshold(image * 4.0f), 4 * threshold);
}

TEST(HeadThreshold, TheMiddleOfAGapIsTaken) {
  Volume<float> image(10, 10, 10, 0.0f);
  for (int i = 0; i < 300; ++i) image.data()[i] = 400.0f;
  EXPECT_NEAR(headThreshold(image), 100, 0.5);  // the square of half the root
}

TEST(HeadThreshold, ASmallObjectAndBrightVoxelsDoNotMislead) {
  Volume<float> image(20, 20, 20, 4.0f);
  for (int i = 0; i < 80; ++i) image.data()[i] = 900.0f;  // 1 %
  EXPECT_GT(headThreshold(image), 4);
  EXPECT_LT(headThreshold(image), 900);
  for (int i = 0; i < 3000; ++i) image.data()[i] = 500.0f;
  for (int i = 0; i < 60; ++i) image.data()[i] = 60000.0f;
  EXPECT_LT(headThreshold(image), 500);
}

TEST(HeadThreshold, NothingToSeparateIsZero) {
  EXPECT_EQ(headThreshold(Volume<float>(4, 4, 4, 7.0f)), 0);
  EXPECT_EQ(headThreshold(Volume<float>(4, 4, 4, -7.0f)), 0);
  EXPECT_EQ(headThreshold(Volume<float>()), 0);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(headThreshold(Volume<float>(4, 4, 4, nan)), 0);
}

TEST(HeadThreshold, VoxelsThatAreNotFiniteAreLeftOut) {
  Volume<float> image = smallPhantom().ap;
  const double threshold = headThreshold(image);
  image.data()[0] = std::numeric_limits<float>::quiet_NaN();
  image.data()[1] = std::numeric_limits<float>::infinity();
  EXPECT_NEAR(headThreshold(image), threshold, threshold / 100);
}

TEST(HeadThreshold, AFiniteVoxelMayLieAnyNumberOfTimesBeyondTheRest) {
  Volume<float> image = smallPhantom().ap;
  const double threshold = headThreshold(image);
  for (const float spike : {1e12F, 1e20F, std::numeric_limits<float>::max()}) {
    image.data()[0] = spike;
    EXPECT_NEAR(headThreshold(image), threshold, threshold / 100) << spike;
  }
  image = smallPhantom().ap * 1e-42F;  // subnormal numbers
  EXPECT_GT(headThreshold(image), 0);
}

TEST(HeadThreshold, LiesBetweenAirAndHeadInRealImages) {
  const std::string folder = niftifiles::dataFolder();
  if (folder.empty()) GTEST_SKIP() << "no real images (MIREL_TEST_DATA)";
  const struct {
    const char* file;
    double air, head;  // the median of the image, and half its 98th percentile
  } images[] = {
      {"/siemens_prisma_dwi_bold_fmap/dwi/sub-01_dir-PA_b0.nii.gz", 12, 485},
      {"/siemens_prisma_dwi_bold_fmap/dwi/sub-01_dir-AP_b0.nii.gz", 12, 498},
      {"/siemens_prisma_dwi_bold_fmap/func/sub-01_task-fa_dir-AP_bold.nii.gz", 28, 566},
      {"/uih_umr770_dwi/dwi/sub-01_dir-AP_b0.nii.gz", 7, 294},
      {"/phantom_prisma_4way/acq-base_dir-PA_epi.nii.gz", 248, 6821},
      {"/phantom_prisma_4way/acq-lr_dir-LR_epi.nii.gz", 230, 6666},
  };
  for (const auto& image : images) {
    const Volume<float> volume = nifti::Reader(folder + image.file).readVolume(0);
    for (const float scale : {0.001f, 1.0f, 1000.0f}) {
      const double threshold = headThreshold(volume * scale) / static_cast<double>(scale);
      EXPECT_GT(threshold, 3 * image.air) << image.file;
      EXPECT_LT(threshold, image.head) << image.file;
    }
  }
}

TEST(FractionAbove, CountsWhatExceeds) {
  Volume<float> image(2, 2, 1, 1.0f);
  image.data()[2] = 3.0f;
  EXPECT_EQ(fractionAbove(image, 1.0), 0.25);
  EXPECT_EQ(fractionAbove(image, 0.5), 1.0);
  EXPECT_EQ(fractionAbove(Volume<float>(), 1.0), 0.0);
}

}  // namespace mirel

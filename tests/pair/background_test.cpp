#include "pair/background.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "nifti/image.h"
#include "support/niftifiles.h"
#include "support/smallpair.h"

namespace mirel {

namespace {

Phantom noisyPhantom(double noise) {
  PhantomOptions options = smallPhantom().options;
  options.noise = noise;
  return makePhantom(options);
}

// What lies around the middle of the brain, with nothing but tissue.
Volume<float> tissueOf(const Volume<float>& image) {
  const glm::ivec3 n = image.dimensions(), size = n / 4, first = (n - size) / 2;
  Volume<float> part(size);
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x)
        part.at(x, y, z) = image.at(first.x + x, first.y + y, first.z + z);
  return part;
}

}  // namespace

TEST(AddedBackground, IsExactlyNothingInMagnitudeImagesOfAnyNoise) {
  for (const double noise : {0.0, 0.01, 0.03, 0.06, 0.12}) {
    const Phantom phantom = noisyPhantom(noise);
    EXPECT_EQ(addedBackground(phantom.ap), 0) << noise;
    EXPECT_EQ(addedBackground(phantom.pa), 0) << noise;
  }
}

TEST(AddedBackground, FollowsWhatIsAdded) {
  const Volume<float>& image = smallPhantom().ap;
  double first = 0;
  for (const float added : {4000.0f, 1000.0f, 300.0f, 100.0f, -150.0f, -500.0f, -3000.0f}) {
    const double found = addedBackground(image + added);
    // The mode of the noise lies above what was added by its standard deviation, about 30.
    EXPECT_NEAR(found, static_cast<double>(added) + smallPhantom().noiseSigma, 10) << added;
    if (first == 0) first = found - static_cast<double>(added);
    EXPECT_NEAR(found - static_cast<double>(added), first, 0.01) << added;
  }
}

TEST(AddedBackground, FollowsTheScaleOfTheImage) {
  const Volume<float> image = smallPhantom().ap + 700.0f;
  EXPECT_EQ(addedBackground(image * 4.0f), 4 * addedBackground(image));
  EXPECT_NEAR(addedBackground(image * 0.01f), 0.01 * addedBackground(image), 0.01);
}

TEST(AddedBackground, IsExactInAMaskedImage) {
  Volume<float> image = smallPhantom().truth;
  const Volume<unsigned char>& brain = smallPhantom().brainMask;
  for (int i = 0; i < image.size(); ++i)
    if (!brain.data()[i]) image.data()[i] = 0;
  EXPECT_EQ(addedBackground(image), 0);
  EXPECT_EQ(addedBackground(image + 512.0f), 512);
  EXPECT_EQ(addedBackground(image - 512.0f), -512);
}

TEST(AddedBackground, TissueThatFillsTheImageIsNone) {
  EXPECT_EQ(addedBackground(tissueOf(smallPhantom().ap)), 0);
  EXPECT_EQ(addedBackground(tissueOf(smallPhantom().truth)), 0);
  Volume<float> even(8, 8, 8);
  for (int i = 0; i < even.size(); ++i) even.data()[i] = 1000.0f + static_cast<float>(i % 17);
  EXPECT_EQ(addedBackground(even), 0);
}

TEST(AddedBackground, OfNothingIsNothing) {
  EXPECT_EQ(addedBackground(Volume<float>()), 0);
  EXPECT_EQ(addedBackground(Volume<float>(4, 4, 4, 7.0f)), 0);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(addedBackground(Volume<float>(4, 4, 4, nan)), 0);
  Volume<float> image = smallPhantom().ap + 700.0f;
  const double whole = addedBackground(image);
  image.at(3, 3, 3) = nan;
  EXPECT_NEAR(addedBackground(image), whole, 0.5);
}

TEST(AddedBackground, TheRealImagesHaveNone) {
  const std::string folder = niftifiles::dataFolder();
  if (folder.empty()) GTEST_SKIP() << "no folder with real images (MIREL_TEST_DATA)";
  for (const char* name : {"/siemens_prisma_dwi_bold_fmap/dwi/sub-01_dir-AP_b0.nii.gz",
                           "/siemens_prisma_dwi_bold_fmap/dwi/sub-01_dir-PA_b0.nii.gz",
                           "/siemens_prisma_dwi_bold_fmap/dwi/sub-01_dir-AP_dwi.nii.gz",
                           "/siemens_prisma_dwi_bold_fmap/func/sub-01_task-fa_dir-AP_bold.nii.gz",
                           "/uih_umr770_dwi/dwi/sub-01_dir-AP_b0.nii.gz",
                           "/uih_umr770_dwi/dwi/sub-01_dir-PA_b0.nii.gz",
                           "/phantom_prisma_4way/acq-base_dir-AP_epi.nii.gz",
                           "/phantom_prisma_4way/acq-base_dir-PA_epi.nii.gz",
                           "/phantom_prisma_4way/acq-lr_dir-LR_epi.nii.gz",
                           "/phantom_prisma_4way/acq-lr_dir-RL_epi.nii.gz"}) {
    nifti::Reader reader(folder + name);
    const Volume<float> image = reader.readVolume(reader.header().volumes - 1);
    EXPECT_EQ(addedBackground(image), 0) << name;
    EXPECT_GT(addedBackground(image + 9000.0f), 8990) << name;
    EXPECT_LT(addedBackground(image + 9000.0f), 9150) << name;
  }
}

}  // namespace mirel

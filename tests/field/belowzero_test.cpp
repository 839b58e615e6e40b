#include "field/belowzero.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "field/series.h"
#include "field/seriesfiles.h"

namespace mirel {

using namespace seriesfiles;
using niftifiles::readBytes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr glm::ivec3 dims{10, 12, 7};

// A bright spot in air; in the second volume a voxel far from it is below 0.
Volume<float> spot(int t) {
  Volume<float> image(dims, 0.0f);
  image.at(5, 6, 3) = 1000.0f + static_cast<float>(100 * t);
  if (t == 1) image.at(0, 0, 0) = -1;
  return image;
}

Volume<float> notBelowZero(Volume<float> volume) {
  for (int n = 0; n < volume.size(); ++n)
    if (volume.data()[n] < 0.0f) volume.data()[n] = 0.0f;
  return volume;
}

struct BelowZero : testing::Test {
  TemporaryFolder folder;
  nifti::Header header = headerOf(dims, affineOf({3, 3, 4}), 3);
  Volume<float> shift = smoothShift(dims);
  SeriesOptions options;

  BelowZero() { options.modulation = Modulation::on; }

  SeriesReport correct(const std::string& out = "out.nii.gz") {
    writeImage(folder.file("in.nii"), header, spot);
    return correctSeries(folder.file("in.nii"), shift, options, folder.file(out));
  }
  Volume<float> written(int t) const {
    return nifti::Reader(folder.file("out.nii.gz")).readVolume(t);
  }
  // Of a file that was read as `volume`.
  Volume<float> corrected(const Volume<float>& volume) const {
    const float background = static_cast<float>(options.background);
    Volume<float> result =
        correctVolume(volume - background, shift, 1, Modulation::on, options.interpolation);
    return std::move(result += background);
  }
  // As a file of the header's type holds it.
  Volume<float> stored(const Volume<float>& volume) const {
    nifti::Header one = header;
    one.volumes = 1;
    writeImage(folder.file("one.nii"), one, [&](int) { return Volume<float>(volume); });
    return nifti::Reader(folder.file("one.nii")).readVolume(0);
  }
};

}  // namespace

TEST(RaiseToZero, TouchesWhatIsBelowZeroAlone) {
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  Volume<float> volume(6, 1, 1, -0.0f);
  EXPECT_FALSE(holdsBelowZero(volume));
  volume.data()[1] = nan;
  volume.data()[2] = 3;
  EXPECT_FALSE(holdsBelowZero(volume));
  volume.data()[3] = -std::numeric_limits<float>::denorm_min();
  volume.data()[4] = -std::numeric_limits<float>::infinity();
  EXPECT_TRUE(holdsBelowZero(volume));
  EXPECT_EQ(raiseToZero(volume), 2);
  EXPECT_TRUE(std::signbit(volume.data()[0]));
  EXPECT_TRUE(std::isnan(volume.data()[1]));
  EXPECT_THAT(std::vector<float>(volume.data() + 2, volume.data() + 6),
              ElementsAre(3, 0, 0, -0.0f));
}

TEST_F(BelowZero, OfVolumesThatHoldNothingBelowItNothingIsWrittenBelowIt) {
  for (const nifti::DataType type : {nifti::DataType::float32, nifti::DataType::int16})
    for (const InterpolationKernel kernel :
         {InterpolationKernel::cubic, InterpolationKernel::lanczos})
      for (const double background : {0.0, 7.0}) {
        SCOPED_TRACE(nameOf(type) + std::to_string(background));
        header.type = type;
        options.interpolation = kernel;
        options.background = background;
        EXPECT_THAT(correct().notes, IsEmpty());
        for (const int t : {0, 2}) {
          ASSERT_LT(corrected(spot(t)).min(), -1.0f) << "or there was nothing to raise";
          EXPECT_TRUE(written(t) == stored(notBelowZero(corrected(spot(t))))) << t;
        }
        EXPECT_LT(written(1).min(), -1.0f);
        EXPECT_TRUE(written(1) == stored(corrected(spot(1))));
      }
}

TEST_F(BelowZero, WhatCountsIsTheValueThatScalingGives) {
  header.type = nifti::DataType::int16;
  header.slope = 0.5;
  header.inter = 1000;  // 0 is stored as -2000
  correct();
  EXPECT_EQ(written(0).min(), 0.0f);
  EXPECT_LT(written(1).min(), -1.0f);
  // A type that clamps them counts them, too.
  header = headerOf(dims, header.affine(), 1);
  header.type = nifti::DataType::uint16;
  EXPECT_THAT(correct().notes, ElementsAre(HasSubstr("below the least value that uint16 holds")));
  EXPECT_TRUE(written(0) == stored(notBelowZero(corrected(spot(0)))));
  options.floatOutput = true;
  EXPECT_THAT(correct().notes, IsEmpty());
  EXPECT_TRUE(written(0) == notBelowZero(corrected(spot(0))));
}

TEST_F(BelowZero, OfMovedVolumesToo) {
  const glm::dmat4 moved = glm::translate(affineOf({1, 1, 1}, 3), {0.3, -0.2, 0.1});
  options.toVolume.assign(3, moved);
  options.threads = 1;
  correct();
  MovedCorrector::Scratch scratch;
  for (int t = 0; t < 3; ++t) {
    Volume<float> expected;
    MovedCorrector(shift, 1, Modulation::on).correct(spot(t), moved, expected, scratch);
    ASSERT_LT(expected.min(), -1.0f);
    EXPECT_TRUE(written(t) == (t == 1 ? expected : notBelowZero(expected))) << t;
  }
  options.threads = 3;
  correct("three.nii.gz");
  EXPECT_EQ(readBytes(folder.file("three.nii.gz")), readBytes(folder.file("out.nii.gz")));
}

// What is found of a series by its mean does not depend on how it is written.
TEST_F(BelowZero, TheMeanIsThatOfWhatWasComputed) {
  options.meanVolumes = 1;
  EXPECT_TRUE(correct().meanAfter == corrected(spot(0)));
}

}  // namespace mirel

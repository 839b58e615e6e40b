#include <gtest/gtest.h>

#include "field/series.h"
#include "field/seriesfiles.h"

namespace mirel {

using namespace seriesfiles;
using niftifiles::readBytes;

namespace {

constexpr glm::ivec3 dims{10, 12, 7};

struct MovedSeries : testing::Test {
  TemporaryFolder folder;
  nifti::Header header = headerOf(dims, affineOf({3, 3, 4}, 10, {-30, -40, 5}), 4);
  Volume<float> shift = smoothShift(dims);
  std::string in = folder.file("in.nii");
  SeriesOptions options;

  MovedSeries() {
    writeImage(in, header, [](int t) { return smoothImage(dims, t); });
    options.modulation = Modulation::on;
  }
  std::string correct(const std::string& name) const {
    correctSeries(in, shift, options, folder.file(name));
    return folder.file(name);
  }
  static glm::dmat4 motionOf(int t) {
    return t == 1 ? glm::dmat4(1.0) : glm::translate(affineOf({1, 1, 1}, t), {0.3 * t, -0.2, 0.1});
  }
};

}  // namespace

TEST_F(MovedSeries, EachVolumeWithItsOwnMotion) {
  for (int t = 0; t < 4; ++t) options.toVolume.push_back(motionOf(t));
  options.volumes = {3, 1, 0};
  nifti::Reader out(correct("out.nii.gz"));
  for (int n = 0; n < 3; ++n) {
    const int t = options.volumes[static_cast<std::size_t>(n)];
    Volume<float> expected;
    MovedCorrector::Scratch scratch;
    if (t == 1)
      expected = correctVolume(smoothImage(dims, t), shift, 1, Modulation::on);
    else
      MovedCorrector(shift, 1, Modulation::on)
          .correct(smoothImage(dims, t), motionOf(t), expected, scratch);
    EXPECT_TRUE(out.readVolume(n) == expected) << t;
  }
}

TEST_F(MovedSeries, NoMotionIsWrittenAsWithoutOne) {
  const std::string without = correct("without.nii.gz");
  options.toVolume.assign(4, glm::dmat4(1.0));
  EXPECT_EQ(readBytes(correct("with.nii.gz")), readBytes(without));
}

TEST_F(MovedSeries, TheNumberOfThreadsDoesNotShow) {
  for (int t = 0; t < 4; ++t) options.toVolume.push_back(motionOf(t));
  options.threads = 1;
  const std::string one = correct("one.nii.gz");
  options.threads = 3;
  EXPECT_EQ(readBytes(correct("three.nii.gz")), readBytes(one));
}

TEST_F(MovedSeries, IsInterpolatedAsAskedInAnyNumberOfThreads) {
  for (int t = 0; t < 4; ++t) options.toVolume.push_back(motionOf(t));
  for (const InterpolationKernel kernel :
       {InterpolationKernel::linear, InterpolationKernel::lanczos}) {
    options.interpolation = kernel;
    options.threads = 1;
    const std::string one = correct("one.nii.gz");
    options.threads = 3;
    EXPECT_EQ(readBytes(correct("three.nii.gz")), readBytes(one));
    nifti::Reader out(one);
    Volume<float> expected;
    MovedCorrector::Scratch scratch;
    MovedCorrector(shift, 1, Modulation::on, kernel)
        .correct(smoothImage(dims, 2), motionOf(2), expected, scratch);
    EXPECT_TRUE(out.readVolume(2) == expected);
    EXPECT_TRUE(out.readVolume(1) ==
                correctVolume(smoothImage(dims, 1), shift, 1, Modulation::on, kernel));
  }
}

TEST_F(MovedSeries, AnotherNumberOfMotionsIsNoOptionToAsk) {
  options.toVolume.assign(3, glm::dmat4(1.0));
  EXPECT_THROW(correct("out.nii.gz"), std::logic_error);
  EXPECT_FALSE(std::filesystem::exists(folder.file("out.nii.gz")));
}

}  // namespace mirel

#include "average/joinvolumes.h"

#include <gmock/gmock.h>

#include <cmath>

#include "average/volumeagreement.h"
#include "field/beforemotion.h"
#include "numerics/fft/fftw.h"
#include "phantom/phantom.h"
#include "support/remarks.h"

namespace mirel {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Fate = JoinedPart::Fate;

constexpr double sigma = 30;

/// A head whose brain has about 1000, and noisy volumes of it.
class JoinVolumes : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    bindEngine();
    PhantomOptions options;
    options.size = {40, 48, 28};
    options.voxelMm = glm::dvec3(4.5);
    options.maxShiftVoxels = 0;
    options.volumes = 0;
    truth = std::make_unique<Volume<float>>(makePhantom(options).truth);
  }
  static void TearDownTestSuite() { truth.reset(); }

  static VolumeToJoin noisy(const Volume<float>& signal, int n) {
    glm::dmat4 affine(4.5);
    affine[3] = glm::dvec4(-90, -100, -60, 1);
    return {{addRicianNoise(signal, sigma, 7, static_cast<std::uint64_t>(n)), affine,
             "volume " + std::to_string(n)},
            "a.nii.gz",
            n};
  }
  static std::vector<VolumeToJoin> four() {
    std::vector<VolumeToJoin> volumes;
    for (int n = 0; n < 4; ++n) volumes.push_back(noisy(*truth, n));
    return volumes;
  }
  static Volume<float> moved(const RigidMotion& motion) {
    const Grid grid{truth->dimensions(), noisy(*truth, 0).image.affine};
    const glm::dvec3 centre(grid.affine * glm::dvec4(0.5 * (glm::dvec3(grid.dims) - 1.0), 1.0));
    // Where a voxel of the moved image shows what the unmoved one has.
    return resampleTo(beforeMotion(grid, motion, centre), *truth, grid.affine, "",
                      Interpolation::cubic);
  }
  static double rms(const Volume<float>& image, int fromSlice = 2, int toSlice = 26) {
    double squares = 0, count = 0;
    for (int z = fromSlice; z < toSlice; ++z)
      for (int y = 4; y < truth->ny() - 4; ++y)
        for (int x = 4; x < truth->nx() - 4; ++x) {
          if (truth->at(x, y, z) < 500) continue;
          const double apart = static_cast<double>(image.at(x, y, z) - truth->at(x, y, z));
          squares += apart * apart;
          ++count;
        }
    return std::sqrt(squares / count);
  }

  static std::unique_ptr<Volume<float>> truth;
};

std::unique_ptr<Volume<float>> JoinVolumes::truth;

TEST_F(JoinVolumes, OfAStillHeadIsThePlainMean) {
  const std::vector<VolumeToJoin> volumes = four();
  const JoinedVolumes joined = joinVolumes(volumes);
  for (int i = 0; i < truth->size(); ++i) {
    double sum = 0;
    for (const VolumeToJoin& one : volumes) sum += static_cast<double>(one.image.values.data()[i]);
    ASSERT_EQ(joined.image.data()[i], static_cast<float>(sum / 4));
  }
  EXPECT_THAT(joined.notes, IsEmpty());
  EXPECT_THAT(joined.warnings, IsEmpty());
}

TEST_F(JoinVolumes, LeavesOutSlicesThatLostTheirSignal) {
  std::vector<VolumeToJoin> volumes = four();
  for (int z : {9, 10, 14})
    for (int y = 0; y < truth->ny(); ++y)
      for (int x = 0; x < truth->nx(); ++x) volumes[1].image.values.at(x, y, z) *= 0.6F;
  const JoinedVolumes joined = joinVolumes(volumes);
  EXPECT_THAT(joined.parts[1].weakSlices, ElementsAre(9, 10, 14));
  EXPECT_EQ(joined.parts[1].fate, Fate::counted);
  EXPECT_LT(rms(joined.image, 9, 11), 1.1 * sigma / std::sqrt(3));
  EXPECT_THAT(
      textsOf(joined.warnings),
      ElementsAre(HasSubstr("slices 9 to 10, 14 (counted from 0) of volume 1 differ from")));
}

TEST_F(JoinVolumes, LeavesOutAVolumeOfAnotherContrast) {
  std::vector<VolumeToJoin> volumes = four();
  Volume<float> bright = *truth;
  for (int i = 0; i < bright.size(); ++i) bright.data()[i] *= 1.1F + 0.0008F * bright.data()[i];
  volumes[0] = noisy(bright, 0);
  JoinedVolumes joined = joinVolumes(volumes);
  EXPECT_EQ(joined.parts[0].fate, Fate::beforeSteady);
  EXPECT_EQ(joined.reference, 1U);
  EXPECT_LT(rms(joined.image), 1.05 * sigma / std::sqrt(3));
  EXPECT_THAT(textsOf(joined.notes),
              ElementsAre(testing::AllOf(HasSubstr("volume 0 is "), HasSubstr("steady state"))));
  // Later in the file it is no matter of the steady state.
  volumes = four();
  volumes[2] = noisy(bright, 2);
  joined = joinVolumes(volumes);
  EXPECT_EQ(joined.parts[2].fate, Fate::differs);
  EXPECT_THAT(textsOf(joined.warnings), ElementsAre(HasSubstr("volume 2 does not show")));
  EXPECT_LT(rms(joined.image), 1.05 * sigma / std::sqrt(3));
}

TEST_F(JoinVolumes, UndoesMotion) {
  std::vector<VolumeToJoin> volumes = four();
  const RigidMotion motion{{2, -1, 1.5}, {1, 2, -1}};
  volumes[2] = noisy(moved(motion), 2);
  const double without = rms(plainMean({{volumes[0].image.values},
                                        {volumes[1].image.values},
                                        {volumes[2].image.values},
                                        {volumes[3].image.values}}));
  const JoinedVolumes joined = joinVolumes(volumes);
  const JoinedPart& part = joined.parts[2];
  ASSERT_TRUE(part.moved);
  EXPECT_FALSE(joined.parts[1].moved);
  for (int axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(part.motion.translationMm[axis], motion.translationMm[axis], 0.2);
    EXPECT_NEAR(part.motion.rotationDegrees[axis], motion.rotationDegrees[axis], 0.2);
  }
  EXPECT_LT(rms(joined.image), 1.1 * sigma / 2);
  EXPECT_GT(without, 2 * rms(joined.image));
  EXPECT_THAT(textsOf(joined.notes), ElementsAre(HasSubstr("the head is displaced by")));
}

}  // namespace

}  // namespace mirel

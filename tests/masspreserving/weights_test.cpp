// What the caller knows beforehand: where the images count, and what the displacement is about.
#include <gtest/gtest.h>

#include <stdexcept>

#include "masspreserving/masspreserving.h"
#include "masspreserving/testdata.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

const glm::dvec3 voxelMm(4.5);
constexpr int firstBadSlice = 14;

const Phantom& phantom() {
  static const Phantom made = [] {
    PhantomOptions wanted;
    wanted.size = {44, 52, 28};
    wanted.voxelMm = voxelMm;
    wanted.maxShiftVoxels = 3.2;
    wanted.seed = 5;
    return makePhantom(wanted);
  }();
  return made;
}

Volume<float> all(float value) { return {phantom().ap.dimensions(), value}; }

Volume<float> shiftOf(const Volume<float>& first, MassPreservingOptions options = {}) {
  return estimateMassPreserving(first, phantom().pa, voxelMm, options).shiftVoxels;
}

// In the brain below the slices that are bad.
double rmsBelow(const Volume<float>& shift) {
  Volume<float> mask = all(0.0F);
  const int perSlice = mask.nx() * mask.ny();
  for (int i = 0; i < (firstBadSlice - 2) * perSlice; ++i)
    mask.data()[i] = phantom().brainMask.data()[i];
  return testdata::rmsWhere(shift, phantom().shiftVoxels, mask, 0.5F);
}

// The upper slices of the first image show something else: themselves turned round.
Volume<float> withBadSlices() {
  Volume<float> image = phantom().ap;
  for (int z = firstBadSlice; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x)
        image.at(x, y, z) = phantom().ap.at(x, image.ny() - 1 - y, z);
  return image;
}

Volume<float> goodSlices() {
  Volume<float> weights = all(1.0F);
  for (int z = firstBadSlice; z < weights.nz(); ++z)
    for (int y = 0; y < weights.ny(); ++y)
      for (int x = 0; x < weights.nx(); ++x) weights.at(x, y, z) = 0.0F;
  return weights;
}

TEST(MassPreservingWeights, OfOneChangeNothing) {
  MassPreservingOptions options;
  options.weights = all(1.0F);
  EXPECT_EQ(shiftOf(phantom().ap, options), shiftOf(phantom().ap));
}

TEST(MassPreservingWeights, KeepWhatTheyLeaveOutFromTheRest) {
  MassPreservingOptions options;
  options.weights = goodSlices();
  const double unspoiled = rmsBelow(shiftOf(phantom().ap));
  const double weighted = rmsBelow(shiftOf(withBadSlices(), options));
  EXPECT_LT(weighted, 1.15 * unspoiled);
  EXPECT_LT(weighted, 0.9 * rmsBelow(shiftOf(withBadSlices())));
}

// A place in the head of which the first image shows next to nothing.
bool isLost(int x, int y, int z) {
  return x >= 22 && x < 28 && y >= 33 && y < 40 && z >= 10 && z < 15;
}

TEST(MassPreservingWeights, LetNothingStandOutWhereTheyAreZero) {
  Volume<float> image = phantom().ap;
  MassPreservingOptions options;
  options.weights = all(1.0F);
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x) {
        if (isLost(x, y, z)) image.at(x, y, z) *= 0.05F;
        // It lies elsewhere in the undistorted image, by up to 3.2 voxels.
        if (isLost(x, y - 4, z) || isLost(x, y, z) || isLost(x, y + 4, z))
          options.weights.at(x, y, z) = 0.0F;
      }
  EXPECT_GT(estimateMassPreserving(image, phantom().pa, voxelMm).shareOut, 0.003);
  EXPECT_EQ(estimateMassPreserving(image, phantom().pa, voxelMm, options).shareOut, 0.0);
}

TEST(MassPreservingWeights, HaveTheSizeOfTheImages) {
  MassPreservingOptions options;
  options.weights = Volume<float>(3, 3, 3, 1.0F);
  EXPECT_THROW(shiftOf(phantom().ap, options), std::invalid_argument);
  options.weights = {};
  options.start = Volume<float>(3, 3, 3, 0.0F);
  EXPECT_THROW(shiftOf(phantom().ap, options), std::invalid_argument);
}

TEST(MassPreservingStart, LeadsToTheSameDisplacement) {
  MassPreservingOptions options;
  options.start = phantom().shiftVoxels;
  const Volume<float> own = shiftOf(phantom().ap), given = shiftOf(phantom().ap, options);
  EXPECT_NE(given, own);
  EXPECT_LT(testdata::rmsWhere(given, own, phantom().ap, 300.0F), 0.02);
}

// A field that was measured: the true one with errors of a twentieth of a voxel.
TEST(MassPreservingStart, AsPriorTellsWhatNoiseHides) {
  const Volume<float> noisy =
      phantom().ap + testdata::noise<float>(phantom().ap.dimensions(), 100.0, 3);
  MassPreservingOptions options;
  options.start =
      phantom().shiftVoxels + testdata::noise<float>(phantom().ap.dimensions(), 0.05, 4);
  const double started = rmsBelow(shiftOf(noisy, options));
  options.startIsPrior = true;
  const double withPrior = rmsBelow(shiftOf(noisy, options));
  EXPECT_LT(withPrior, 0.9 * started);
  EXPECT_LT(withPrior, 0.9 * 0.05);
}

// Of the opposite sign.
TEST(MassPreservingStart, AsWrongPriorIsOverruledByTheImages) {
  MassPreservingOptions options;
  options.start = phantom().shiftVoxels * -1.0F;
  options.startIsPrior = true;
  EXPECT_LT(rmsBelow(shiftOf(phantom().ap, options)), 2.0 * rmsBelow(shiftOf(phantom().ap)));
}

TEST(MassPreservingStart, MayFoldAndIsTakenAsFarAsItDoesNot) {
  MassPreservingOptions options;
  options.start = phantom().shiftVoxels;
  for (int i = 0; i < options.start.size(); i += 3) options.start.data()[i] += 5.0F;
  const Volume<float> shift = shiftOf(phantom().ap, options);
  EXPECT_LT(testdata::largestStep(shift), 1.0);
  EXPECT_LT(testdata::rmsWhere(shift, phantom().shiftVoxels, phantom().ap, 300.0F), 0.5);
}

}  // namespace

}  // namespace mirel

// Pairs that break the model of equal intensities: the bounds are about twice of what is reached,
// and half or less of the error of one ratio for the whole volume.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>

#include "masspreserving/masspreserving.h"
#include "masspreserving/testdata.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

const glm::ivec3 size(48, 56, 32);
const glm::dvec3 voxelMm(4.5);

PhantomOptions options() {
  PhantomOptions wanted;
  wanted.size = size;
  wanted.voxelMm = voxelMm;
  wanted.maxShiftVoxels = 3.2;
  wanted.seed = 12;
  return wanted;
}

const Phantom& phantom() {
  static const Phantom made = makePhantom(options());
  return made;
}

Volume<float> shiftWithRatio(const Volume<float>& first, const Volume<float>& second) {
  return estimateMassPreserving(first, second, voxelMm).shiftVoxels;
}

double rmsOf(const Volume<float>& first, const Volume<float>& second) {
  const Volume<float> shift = shiftWithRatio(first, second);
  EXPECT_LT(testdata::largestStep(shift), 1.0);
  Volume<float> mask(size);
  for (int i = 0; i < mask.size(); ++i) mask.data()[i] = phantom().brainMask.data()[i];
  return testdata::rmsWhere(shift, phantom().shiftVoxels, mask, 0.5F);
}

Volume<float> shaded(double depth) {
  Volume<float> image = phantom().ap;
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x)
        image.at(x, y, z) *=
            static_cast<float>(1.0 + depth * std::sin(3.1 * (y + 0.5) / size.y - 1.55));
  return image;
}

TEST(MassPreservingTrust, ShadingOfOneImageHardlyCounts) {
  const double unspoiled = rmsOf(phantom().ap, phantom().pa);
  EXPECT_LT(rmsOf(shaded(0.1), phantom().pa), 1.8 * unspoiled);
  EXPECT_LT(rmsOf(shaded(0.3), phantom().pa), 2.9 * unspoiled);
}

TEST(MassPreservingTrust, BrighterFluidInOneImageHardlyCounts) {
  const PhantomOptions wanted = options();
  const HeadObject head =
      sampleHead({wanted.size, wanted.voxelMm}, wanted.seed, {}, {1.4F, 1.0F, 1.0F});
  const Volume<float> signal =
      distort(head.density, phantom().shiftVoxels, PhaseEncodingAxis::y, HeadObject::cellsPerVoxel);
  EXPECT_LT(rmsOf(addRicianNoise(signal, phantom().noiseSigma, 12, 1), phantom().pa), 0.11);
}

// On finer voxels than the others, of which more fit into the region.
struct HeadWithRegion {
  PhantomOptions wanted = options();
  Phantom unspoiled;

  HeadWithRegion() {
    wanted.size = {64, 74, 44};
    wanted.voxelMm = glm::dvec3(3.375);
    wanted.maxShiftVoxels = 4.3;
    unspoiled = makePhantom(wanted);
  }

  // Distance in mm from a place low in the front of the head.
  double fromThere(glm::dvec3 voxel) const {
    const glm::dvec3 there = glm::dvec3(0.57, 0.70, 0.43) * glm::dvec3(wanted.size);
    return glm::length((voxel + 0.5 - there) * wanted.voxelMm);
  }

  // The pair, a part of whose first image's signal there is left.
  MassPreservingResult foundWithSignalLeft(float left) const {
    Volume<float> density = sampleHead({wanted.size, wanted.voxelMm}, wanted.seed).density;
    const glm::dvec3 cell(1.0 / HeadObject::cellsPerVoxel, 1.0 / HeadObject::cellsPerVoxel, 1.0);
    for (int z = 0; z < density.nz(); ++z)
      for (int y = 0; y < density.ny(); ++y)
        for (int x = 0; x < density.nx(); ++x)
          if (fromThere(glm::dvec3(x, y, z) * cell) < 16.0) density.at(x, y, z) *= left;
    const Volume<float> signal =
        distort(density, unspoiled.shiftVoxels, PhaseEncodingAxis::y, HeadObject::cellsPerVoxel);
    return estimateMassPreserving(addRicianNoise(signal, unspoiled.noiseSigma, 12, 1), unspoiled.pa,
                                  wanted.voxelMm);
  }

  double rmsOutside(const Volume<float>& shift) const {
    Volume<float> outside(wanted.size, 0.0F);
    for (int z = 0; z < outside.nz(); ++z)
      for (int y = 0; y < outside.ny(); ++y)
        for (int x = 0; x < outside.nx(); ++x)
          if (unspoiled.brainMask.at(x, y, z) != 0 && fromThere({x, y, z}) > 20.0)
            outside.at(x, y, z) = 1.0F;
    return testdata::rmsWhere(shift, unspoiled.shiftVoxels, outside, 0.5F);
  }
};

TEST(MassPreservingTrust, SignalLostInARegionHardlyCountsOutside) {
  const HeadWithRegion head;
  const double unspoiled = head.rmsOutside(
      estimateMassPreserving(head.unspoiled.ap, head.unspoiled.pa, head.wanted.voxelMm)
          .shiftVoxels);
  for (const float left : {0.0F, 0.5F}) {
    const MassPreservingResult found = head.foundWithSignalLeft(left);
    EXPECT_GT(found.shareOut, 0.005) << left;
    EXPECT_LT(found.shareOut, 0.1) << left;
    EXPECT_LT(head.rmsOutside(found.shiftVoxels), 1.2 * unspoiled) << left;
  }
}

TEST(MassPreservingTrust, IsNothingWhereTheModelHolds) {
  MassPreservingOptions one;
  one.localRatio = false;
  EXPECT_EQ(shiftWithRatio(phantom().ap, phantom().pa),
            estimateMassPreserving(phantom().ap, phantom().pa, voxelMm, one).shiftVoxels);
  EXPECT_EQ(estimateMassPreserving(phantom().ap, phantom().pa, voxelMm).shareOut, 0.0);
}

TEST(MassPreservingTrust, LooksForARatioThatIsNotThereInTwoStepsOfEachKind) {
  MassPreservingOptions with;
  with.estimateMotion = false;
  MassPreservingOptions without = with;
  without.localRatio = false;
  const auto steps = [&](const Volume<float>& first, const MassPreservingOptions& wanted) {
    return estimateMassPreserving(first, phantom().pa, voxelMm, wanted).iterations;
  };
  EXPECT_EQ(steps(phantom().ap, with), steps(phantom().ap, without) + 4);
  EXPECT_GT(steps(shaded(0.1), with), steps(shaded(0.1), without) + 6);
}

TEST(MassPreservingTrust, ExchangeOfShadedImagesOnlyChangesTheSign) {
  const Volume<float> there = shiftWithRatio(shaded(0.3), phantom().pa);
  const Volume<float> back = shiftWithRatio(phantom().pa, shaded(0.3));
  float largest = 0.0F;
  for (int i = 0; i < there.size(); ++i)
    largest = std::max(largest, std::abs(there.data()[i] + back.data()[i]));
  EXPECT_LT(largest, 1e-4F);
}

}  // namespace

}  // namespace mirel

#include <gtest/gtest.h>

#include <stdexcept>

#include "base/threadpool.h"
#include "masspreserving/masspreserving.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

// Slices of some thousand voxels: of several parts at two resolutions.
Phantom headInParts(const RigidMotion& motion) {
  PhantomOptions options;
  options.size = {56, 64, 36};
  options.voxelMm = glm::dvec3(4);
  options.maxShiftVoxels = 3;
  options.seed = 5;
  options.volumes = 0;
  options.paMotion = motion;
  return makePhantom(options);
}

Volume<float> shaded(Volume<float> image) {
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x)
        image.at(x, y, z) *= 0.8F + 0.4F * static_cast<float>(y) / static_cast<float>(image.ny());
  return image;
}

MassPreservingResult inThreads(int threads, const Volume<float>& first, const Volume<float>& second,
                               MassPreservingOptions options) {
  ThreadPool pool(threads);
  options.parallel = pool.asParallel();
  EXPECT_EQ(static_cast<bool>(options.parallel), pool.threads() > 1);
  return estimateMassPreserving(first, second, glm::dvec3(4), options);
}

void expectSame(const MassPreservingResult& a, const MassPreservingResult& b) {
  EXPECT_EQ(a.shiftVoxels, b.shiftVoxels);
  EXPECT_EQ(a.deviationVoxels, b.deviationVoxels);
  EXPECT_EQ(a.motion.translationMm, b.motion.translationMm);
  EXPECT_EQ(a.motion.rotationDegrees, b.motion.rotationDegrees);
  EXPECT_EQ(a.noiseSigma, b.noiseSigma);
  EXPECT_EQ(a.roughnessWeight, b.roughnessWeight);
  EXPECT_EQ(a.ratioSpread, b.ratioSpread);
  EXPECT_EQ(a.motionChiSquare, b.motionChiSquare);
  EXPECT_EQ(a.solverIterations, b.solverIterations);
}

MassPreservingResult expectSameInThreads(const Volume<float>& first, const Volume<float>& second,
                                         const MassPreservingOptions& options = {}) {
  const MassPreservingResult alone = inThreads(1, first, second, options);
  for (const int threads : {2, 3, 5}) {
    SCOPED_TRACE(threads);
    expectSame(alone, inThreads(threads, first, second, options));
  }
  return alone;
}

}  // namespace

TEST(MassPreservingThreads, DoNotChangeABitOfAHeadThatKeptStill) {
  const Phantom head = headInParts({});
  MassPreservingOptions options;
  options.uncertainty = true;
  EXPECT_TRUE(expectSameInThreads(head.ap, head.pa, options).motion.isNone());
}

TEST(MassPreservingThreads, DoNotChangeABitOfAHeadThatMoved) {
  const Phantom head = headInParts({glm::dvec3(2.0), glm::dvec3(2.0)});
  const MassPreservingResult found = expectSameInThreads(head.ap, head.pa);
  ASSERT_FALSE(found.motion.isNone());
  ThreadPool pool(3);
  EXPECT_EQ(
      secondUnmoved(head.pa, glm::dvec3(4), found.motion, found.shiftVoxels),
      secondUnmoved(head.pa, glm::dvec3(4), found.motion, found.shiftVoxels, pool.asParallel()));
}

TEST(MassPreservingThreads, DoNotChangeABitOfARatioOfIntensities) {
  const Phantom head = headInParts({});
  EXPECT_TRUE(expectSameInThreads(head.ap, shaded(head.pa)).shading);
}

TEST(MassPreservingThreads, TellWhatAPartThrows) {
  const Phantom head = headInParts({});
  MassPreservingOptions options;
  int calls = 0;
  options.parallel = [&](int parts, const std::function<void(int)>& work) {
    if (++calls == 40) throw std::runtime_error("no more");
    for (int part = parts; part-- > 0;) work(part);
  };
  EXPECT_THROW(estimateMassPreserving(head.ap, head.pa, glm::dvec3(4), options),
               std::runtime_error);
}

}  // namespace mirel

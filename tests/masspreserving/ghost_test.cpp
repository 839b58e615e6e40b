#include "masspreserving/ghost.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "masspreserving/masspreserving.h"
#include "masspreserving/testdata.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

const glm::dvec3 voxelMm(3.0, 2.5, 3.5);

// |image + a e^(i phase) (image half a field of view away)|, ny even.
Volume<float> ghosted(const Volume<float>& image, double a, double phase) {
  const int ny = image.ny();
  Volume<float> result(image.dimensions());
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < image.nx(); ++x) {
        const double own = image.at(x, y, z), ghost = a * image.at(x, (y + ny / 2) % ny, z);
        result.at(x, y, z) =
            static_cast<float>(std::hypot(own + ghost * std::cos(phase), ghost * std::sin(phase)));
      }
  return result;
}

// Magnitudes with noise.
Volume<float> noisyMagnitude(const Volume<float>& image, std::uint64_t stream) {
  const Volume<float> real = image + testdata::noise<float>(image.dimensions(), 12.0, stream),
                      imaginary = testdata::noise<float>(image.dimensions(), 12.0, stream + 100);
  Volume<float> result(image.dimensions());
  for (int i = 0; i < image.size(); ++i)
    result.data()[i] = std::hypot(real.data()[i], imaginary.data()[i]);
  return result;
}

struct Ghosted : testdata::Pair {
  Volume<float> cleanFirst, cleanSecond;
  explicit Ghosted(double a, double phase = 0.0, double ofSecond = 1.0)
      : Pair(testdata::makePair({32, 48, 20}, 2.0)) {
    cleanFirst = noisyMagnitude(first, 1);
    cleanSecond = noisyMagnitude(second, 2);
    first = noisyMagnitude(ghosted(first, a, phase), 1);
    second = noisyMagnitude(ghosted(second, ofSecond * a, phase), 2);
  }
};

TEST(Ghost, HalfAwayOfAnEvenGridIsExactAndOfAnOddOneLiesBetween) {
  Volume<float> even(2, 8, 1), odd(2, 9, 1);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 2; ++x) {
      if (y < 8) even.at(x, y, 0) = static_cast<float>(10 * x + y);
      odd.at(x, y, 0) = static_cast<float>(10 * x + (y == 0 ? 9 : y));
    }
  EXPECT_EQ(halfAway(even).at(1, 1, 0), 15.0F);
  EXPECT_EQ(halfAway(even).at(1, 6, 0), 12.0F);
  EXPECT_EQ(halfAway(halfAway(even)), even);
  EXPECT_FLOAT_EQ(halfAway(odd).at(0, 1, 0), 5.5F);
}

TEST(Ghost, WithoutGhostInvertsTheGhostInTheHeadAndInTheAir) {
  const Volume<float> image = testdata::makePair({20, 36, 12}, 2.0).first;
  for (const double phase : {0.0, std::numbers::pi / 3.0, std::numbers::pi}) {
    const Volume<float> clean = withoutGhost(ghosted(image, 0.08, phase), 0.08, std::cos(phase));
    const Volume<float> all(image.dimensions(), 1.0F);
    EXPECT_LT(testdata::rmsWhere(clean, image, image, 300.0F), 3.0) << phase;
    EXPECT_LT(testdata::rmsWhere(clean, image, all, 0.0F), 12.0) << phase;
  }
  EXPECT_EQ(withoutGhost(image, 0.0, 1.0), image);
}

TEST(Ghost, AmplitudeIsThatInTheAirWhateverThePhase) {
  for (const double phase : {0.0, 1.3, std::numbers::pi}) {
    const Ghosted pair(0.06, phase);
    EXPECT_NEAR(ghostInAir(pair.first), 0.06, 0.012) << phase;
    EXPECT_NEAR(ghostInAir(pair.second), 0.06, 0.012) << phase;
    EXPECT_EQ(ghostInAir(pair.cleanFirst), 0.0);
    EXPECT_EQ(ghostInAir(pair.first * 1024.0F), ghostInAir(pair.first));
  }
}

TEST(Ghost, NoneIsFoundWhereTheGridWasCut) {
  const Ghosted pair(0.08);
  Volume<float> cut(32, 36, 20), padded(32, 64, 20, 0.0F);
  for (int z = 0; z < 20; ++z)
    for (int y = 0; y < 48; ++y)
      for (int x = 0; x < 32; ++x) {
        if (y >= 6 && y < 42) cut.at(x, y - 6, z) = pair.first.at(x, y, z);
        padded.at(x, y + 8, z) = pair.first.at(x, y, z);
      }
  EXPECT_EQ(ghostInAir(cut), 0.0);
  EXPECT_EQ(ghostInAir(padded), 0.0);
  EXPECT_EQ(ghostInAir(Volume<float>(8, 8, 8, 0.0F)), 0.0);
  EXPECT_EQ(ghostInAir(Volume<float>(8, 8, 8, 5.0F)), 0.0);
}

// In the middle of a larger grid, 0 around.
Volume<float> padded(const Volume<float>& image, glm::ivec3 by) {
  Volume<float> result(image.dimensions() + 2 * by, 0.0F);
  for (int z = 0; z < image.nz(); ++z)
    for (int y = 0; y < image.ny(); ++y)
      for (int x = 0; x < image.nx(); ++x)
        result.at(x + by.x, y + by.y, z + by.z) = image.at(x, y, z);
  return result;
}

// What was added along x or z holds no noise, which would make the air beside it look bright.
TEST(Ghost, ThatOfAnImageWithZerosAroundIsThatOfTheImage) {
  PhantomOptions options;
  options.size = {64, 64, 36};
  options.voxelMm = glm::dvec3(3.4);
  options.noise = 0.0;
  const Phantom phantom = makePhantom(options);
  for (const double a : {0.0, 0.05, 0.1})
    for (const double sigma : {30.0, 50.0}) {
      const Volume<float> image = addRicianNoise(ghosted(phantom.apSignal, a, 1.0), sigma, 1, 1);
      const double found = ghostInAir(image);
      EXPECT_NEAR(found, a, 0.012);
      for (const glm::ivec3 by : {glm::ivec3(10, 0, 0), glm::ivec3(0, 0, 10)})
        EXPECT_EQ(ghostInAir(padded(image, by)), found) << a << " " << sigma << " " << by.x;
    }
}

// A head with the same noise with and without ghosts.
struct GhostedHead {
  Phantom phantom;
  Volume<float> first, second;

  GhostedHead(double a, double phase, double ofSecond, const RigidMotion& motion = {}) {
    PhantomOptions options;
    options.paMotion = motion;
    options.size = {44, 52, 30};
    options.voxelMm = glm::dvec3(4.5);
    options.maxShiftVoxels = 3.0;
    phantom = makePhantom(options);
    const auto image = [&](const Volume<float>& signal, double share, std::uint64_t stream) {
      return addRicianNoise(ghosted(signal, share, phase), phantom.noiseSigma, options.seed,
                            stream);
    };
    first = image(phantom.apSignal, a, 1);
    second = image(phantom.paSignal, ofSecond * a, 2);
  }
  MassPreservingResult estimate() const {
    return estimateMassPreserving(first, second, glm::dvec3(4.5));
  }
  double errorOf(const MassPreservingResult& found) const {
    Volume<float> brain(first.dimensions());
    for (int i = 0; i < brain.size(); ++i)
      brain.data()[i] = phantom.brainMask.data()[i] != 0 ? 1.0F : 0.0F;
    return testdata::rmsWhere(found.shiftVoxels, phantom.shiftVoxels, brain, 0.5F);
  }
};

TEST(Ghost, IsTakenOffInPhaseAndInCounterphaseAndFromOneImage) {
  const GhostedHead clean(0.0, 0.0, 0.0);
  const MassPreservingResult without = clean.estimate();
  EXPECT_TRUE(without.ghosts.areNone());
  EXPECT_TRUE(without.ghostsLeft.areNone());
  const double unspoiled = clean.errorOf(without);
  struct Case {
    double a, phase, ofSecond;
  };
  for (const auto& [a, phase, ofSecond] :
       {Case{0.08, 0.0, 1.0}, Case{0.05, std::numbers::pi, 1.0}, Case{0.08, 0.0, 0.0}}) {
    const GhostedHead pair(a, phase, ofSecond);
    const MassPreservingResult found = pair.estimate();
    EXPECT_NEAR(found.ghosts.first, a, 0.006);
    EXPECT_TRUE(found.ghostsLeft.areNone());
    EXPECT_NEAR(found.ghosts.second, ofSecond * a, 0.006);
    EXPECT_GE(found.ghosts.cosine * std::cos(phase), 0.5);
    EXPECT_LT(pair.errorOf(found), 1.3 * unspoiled) << phase << " " << ofSecond;
  }
}

// Inside the head a ghost across the phase hardly changes a magnitude.
TEST(Ghost, IsLeftWhereTheHeadDoesNotShowItAndTold) {
  const MassPreservingResult found = GhostedHead(0.08, 0.5 * std::numbers::pi, 0.0).estimate();
  EXPECT_TRUE(found.ghosts.areNone());
  EXPECT_NEAR(found.ghostsLeft.first, 0.08, 0.01);
  EXPECT_EQ(found.ghostsLeft.second, 0.0);
}

// The fits that try out the phase hold the head still.
TEST(Ghost, OfAHeadThatMovedIsToldWhetherItIsTakenOffOrNot) {
  const RigidMotion motion{{1.0, 0.0, 3.0}, {0.0, 0.0, 0.0}};
  const MassPreservingResult found = GhostedHead(0.08, 0.0, 1.0, motion).estimate();
  EXPECT_NE(found.ghosts.areNone(), found.ghostsLeft.areNone());
  EXPECT_NEAR(found.ghosts.first + found.ghostsLeft.first, 0.08, 0.015);
  EXPECT_NEAR(found.ghosts.second + found.ghostsLeft.second, 0.08, 0.015);
}

TEST(Ghost, ExchangedImagesNegateTheMap) {
  const Ghosted pair(0.08, 0.0, 0.6);
  const MassPreservingResult one = estimateMassPreserving(pair.first, pair.second, voxelMm),
                             other = estimateMassPreserving(pair.second, pair.first, voxelMm);
  EXPECT_FALSE(one.ghosts.areNone());
  EXPECT_EQ(other.shiftVoxels, -one.shiftVoxels);
  EXPECT_EQ(other.ghosts.first, one.ghosts.second);
}

}  // namespace

}  // namespace mirel

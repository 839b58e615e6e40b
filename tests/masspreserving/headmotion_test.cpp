#include "masspreserving/headmotion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <glm/geometric.hpp>

#include "masspreserving/testdata.h"

namespace mirel {

namespace {

const glm::ivec3 size(6, 5, 4);
const glm::dvec3 voxelMm(2.0, 3.0, 4.0);
const GridPlace place = placeOf(size, voxelMm, glm::ivec3(1));

Volume<float> shiftOf(float value) { return {size.x, size.y + 1, size.z, value}; }

HeadMotion headOf(const RigidMotion& motion, double chiSquare = 0.0) {
  HeadMotion head;
  head.motion = motion;
  head.chiSquare = chiSquare;
  return head;
}

TEST(SofteningFor, CountsTheDisplacementAlongZ) {
  EXPECT_EQ(softeningFor({}, size, voxelMm), 0.0);
  EXPECT_EQ(softeningFor({{3.0, -2.0, 0.0}, {}}, size, voxelMm), 0.0);
  EXPECT_EQ(softeningFor({{}, {0.0, 0.0, 5.0}}, size, voxelMm), 0.0);
  EXPECT_NEAR(softeningFor({{0.0, 0.0, 0.08 * voxelMm.z}, {}}, size, voxelMm), 0.5, 1e-12);
  EXPECT_GT(softeningFor({{0.0, 0.0, -voxelMm.z}, {}}, size, voxelMm), 0.99);
}

TEST(SofteningFor, CountsARotationsDisplacementOverTheGrid) {
  const glm::ivec3 fine(60, 50, 40);
  const glm::dvec3 mm = 0.1 * voxelMm;
  const GridPlace at = placeOf(fine, mm, glm::ivec3(1));
  const RigidMotion motion{{0.0, 0.0, 0.02}, {2.0, -3.0, 1.0}};
  double squares = 0.0;
  for (int z = 0; z < fine.z; ++z)
    for (int y = 0; y < fine.y; ++y)
      for (int x = 0; x < fine.x; ++x) {
        const glm::dvec3 p = at.positionMm({x, y, z});
        const double along = (motion.after(p).z - p.z) / mm.z;
        squares += along * along / (fine.x * fine.y * fine.z);
      }
  EXPECT_NEAR(softeningFor(motion, fine, mm), squares / (squares + 0.08 * 0.08), 1e-4);
}

TEST(MotionEvidence, ATranslationDisplacesEverythingAlike) {
  const Volume<float> image(size, 3.0F);
  const MotionEvidence evidence(image, image, shiftOf(0.25F), headOf({{1.0, 0.0, 2.0}, {}}, 7.0),
                                place);
  EXPECT_NEAR(evidence.displacementMm, std::sqrt(5.0), 1e-12);
  EXPECT_NEAR(evidence.meanShift, 0.25, 1e-7);
  EXPECT_EQ(evidence.chiSquare, 7.0);
  EXPECT_EQ(evidence.varianceRatio, 1.0);
}

TEST(MotionEvidence, DoesNotCountTheTranslationAlongY) {
  const Volume<float> image(size, 3.0F);
  const MotionEvidence evidence(image, image, shiftOf(0.0F), headOf({{1.0, 5.0, 0.0}, {}}), place);
  EXPECT_NEAR(evidence.displacementMm, 1.0, 1e-12);
}

TEST(MotionEvidence, IsWeightedWithTheSquaredSignalOfBoth) {
  // Three times the signal, on both images together, counts nine times.
  Volume<float> first(size, 0.0F), second(size, 0.0F), b = shiftOf(0.0F);
  const glm::ivec3 one(1, 2, 3), other(5, 0, 1);
  first[one] = 4.0F;
  second[one] = 2.0F;
  second[other] = 2.0F;
  b.at(one.x, one.y, one.z) = 0.2F;
  b.at(one.x, one.y + 1, one.z) = 0.6F;
  b.at(other.x, other.y, other.z) = b.at(other.x, other.y + 1, other.z) = -1.0F;
  const RigidMotion motion{{0.5, 0.0, -0.5}, {3.0, 5.0, -8.0}};
  const MotionEvidence evidence(first, second, b, headOf(motion), place);
  const auto squared = [&](glm::ivec3 voxel) {
    const glm::dvec3 p = place.positionMm(voxel), by = motion.after(p) - p;
    return glm::dot(by, by);
  };
  EXPECT_NEAR(evidence.displacementMm, std::sqrt((9.0 * squared(one) + squared(other)) / 10.0),
              1e-12);
  EXPECT_NEAR(evidence.meanShift, (9.0 * 0.4 - 1.0) / 10.0, 1e-7);
}

TEST(MotionEvidence, WithoutSignalIsNone) {
  const Volume<float> nothing(size, 0.0F);
  const MotionEvidence evidence(nothing, nothing, shiftOf(1.0F), headOf({{9.0, 0.0, 0.0}, {}}),
                                place);
  EXPECT_EQ(evidence.displacementMm, 0.0);
  EXPECT_EQ(evidence.meanShift, 0.0);
  EXPECT_FALSE(evidence.isMotion(2.0));
}

class Thresholds : public testing::Test {
 protected:
  const Volume<float> image = Volume<float>(size, 1.0F);
  MotionEvidence evidence{image, image, shiftOf(0.0F), headOf({}), place};

  void SetUp() override {
    evidence.displacementMm = 0.1;
    evidence.chiSquare = 50.0;
    evidence.varianceRatio = 1.25;
  }
};

TEST_F(Thresholds, EverythingHasToSpeakForMotion) {
  EXPECT_TRUE(evidence.isMotion(2.0));
  evidence.displacementMm = 0.099;
  EXPECT_FALSE(evidence.isMotion(2.0));
  EXPECT_TRUE(evidence.isMotion(1.9)) << "a twentieth of the voxel counts";
  SetUp();
  evidence.chiSquare = 49.9;
  EXPECT_FALSE(evidence.isMotion(2.0));
  SetUp();
  evidence.varianceRatio = 1.24;
  EXPECT_FALSE(evidence.isMotion(2.0));
}

TEST_F(Thresholds, WhatIsNotANumberIsNoMotion) {
  evidence.chiSquare = std::nan("");
  EXPECT_FALSE(evidence.isMotion(2.0));
  SetUp();
  evidence.varianceRatio = std::nan("");
  EXPECT_FALSE(evidence.isMotion(2.0));
}

TEST_F(Thresholds, AHeadThatMovedFarProbablyDidSoAlongY) {
  evidence.displacementMm = 1.49;
  EXPECT_FALSE(evidence.isLarge());
  evidence.displacementMm = 1.5;
  EXPECT_TRUE(evidence.isLarge());
}

// A pair without displacement whose second image moved.
struct MovedPair {
  const glm::ivec3 size{24, 28, 22};
  const GridPlace place = placeOf(size, glm::dvec3(3.0), glm::ivec3(1));
  const RigidMotion truth{{1.2, 0.0, -0.8}, {1.0, -2.0, 1.5}};
  Volume<float> first{size}, second{size};

  MovedPair() {
    for (int z = 0; z < size.z; ++z)
      for (int y = 0; y < size.y; ++y)
        for (int x = 0; x < size.x; ++x) {
          const glm::dvec3 p = place.positionMm({x, y, z});
          first.at(x, y, z) = valueAt(p);
          second.at(x, y, z) = valueAt(truth.before(p));
        }
    first += testdata::noise<float>(size, 0.005, 1);
    second += testdata::noise<float>(size, 0.005, 2);
  }
  float valueAt(glm::dvec3 mm) const {
    return static_cast<float>(testdata::ellipsoid(mm / (0.5 * 3.0 * glm::dvec3(size))) / 800.0);
  }
};

TEST(MovingPair, GivesTheModelThePairHalfWay) {
  const MovedPair moved;
  MassModel<float> model(moved.first, moved.second);
  MovingPair pair(model, moved.first, moved.second, moved.place);
  const Volume<float> b(model.edges(), 0.0F);
  const HalfWayPair half = pair.hold(moved.truth, b);
  Volume<float> one(moved.size), other(moved.size), covered(moved.size);
  model.correct(b, one, other);
  EXPECT_LT(testdata::rmsWhere(one, half.first, moved.first, -1.0F), 1e-5);
  EXPECT_LT(testdata::rmsWhere(other, half.second, moved.first, -1.0F), 1e-5);
  EXPECT_LT(testdata::rmsWhere(one, other, moved.first, 0.1F), 0.01);
  EXPECT_GT(testdata::rmsWhere(moved.first, moved.second, moved.first, 0.1F), 0.03);
  model.coverage(b, covered);
  EXPECT_EQ(covered.at(0, 0, 0), 0.0F) << "one of the two corners is beyond the other's grid";
  EXPECT_EQ(covered.at(12, 14, 11), 1.0F);
}

TEST(MovingPair, FindsTheMotionStepByStep) {
  const MovedPair moved;
  MassModel<float> model(moved.first, moved.second);
  MovingPair pair(model, moved.first, moved.second, moved.place);
  FitStatistics statistics;
  statistics.roughnessWeight = 30.0;
  LevelFit fit(model, glm::dvec3(3.0), Volume<float>(model.edges(), 0.0F), statistics);
  HeadMotion head;
  head.response.fill(Volume<float>(model.edges(), 0.0F));
  pair.hold(head.motion, fit.displacement());
  double last = 0.0;
  for (int i = 0; i < 8; ++i) {
    fit.step(0.05, 60);
    const MovingPair::Step step = pair.step(fit, head, 0.05, 60);
    // No step goes farther than a voxel.
    EXPECT_LT(step.largestVoxels, 1.01);
    last = step.largestVoxels;
    fit.updateStatistics(NoiseTails::normal, RatioEvidence::updated);
  }
  EXPECT_LT(last, 0.05);
  EXPECT_LT(glm::length(head.motion.translationMm - moved.truth.translationMm), 0.1);
  EXPECT_LT(glm::length(head.motion.rotationDegrees - moved.truth.rotationDegrees), 0.2);
  EXPECT_GT(head.chiSquare, 100.0);
}

}  // namespace

}  // namespace mirel

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>

#include "reference/simplevdmestimate.h"
#include "reference/vdmestimate.h"
#include "simd/eachvariant.h"
#include "support/compare.h"
#include "support/fftw_binding.h"
#include "support/random_volume.h"
#include "vdm/estimatepair.h"
#include "vdm/realdata.h"
#include "vdm/simplevdmestimate.h"
#include "vdm/vdmestimate.h"

namespace mirel {

// The whole estimate in every variant, to the bit against the plain reference: map and log.

namespace {

using Patterns = std::vector<Volume<float>>;
using Amplitudes = std::vector<std::vector<float>>;

struct Schedule {
  Patterns patterns;
  Amplitudes amplitudes;
  std::vector<glm::dvec3> sigmas;
};

// The log without the processor time.
std::string comparable(const std::string& log) {
  const std::size_t start = log.find("\nTime taken: "), end = log.find("Inverse consistency");
  return start == std::string::npos ? log : log.substr(0, start) + log.substr(end);
}

void expectSame(const RealPair& pair, const Schedule& schedule, bool useSsd, bool useIc) {
  SCOPED_TRACE(std::string(useSsd ? "SSD" : "NCC") + (useIc ? ", intensities corrected" : ""));
  bindFftw();
  const glm::dvec3 voxelSize(2, 2, 2), fitSigma(0.5, 2.0, 0.5);
  std::ostringstream wantedLog;
  const Volume<float> wanted =
      reference::estimate_vdm(pair.ap, pair.pa, voxelSize, fitSigma, useSsd, schedule.patterns,
                              schedule.amplitudes, schedule.sigmas, useIc, wantedLog);
  forEachVariant([&](SimdVariant) {
    std::ostringstream log;
    EXPECT_TRUE(
        compare::same(estimate_vdm(pair.ap, pair.pa, voxelSize, fitSigma, useSsd, schedule.patterns,
                                   schedule.amplitudes, schedule.sigmas, useIc, log),
                      wanted));
    EXPECT_EQ(comparable(log.str()), comparable(wantedLog.str()));
  });
}

void expectSameInEveryMode(const RealPair& pair, const Schedule& schedule) {
  for (const bool useSsd : {true, false})
    for (const bool useIc : {false, true}) expectSame(pair, schedule, useSsd, useIc);
}

Schedule smallSchedule() {
  return {{Volume<float>(5, 5, 5, 1.0f), Volume<float>(3, 3, 3, 1.0f)},
          {{-1.2f, -0.4f, 0.4f, 1.2f}, {-0.3f, 0.0f, 0.3f}},
          {{3, 3, 3}, {1.5, 1.5, 1.5}}};
}

RealPair blobPair(glm::ivec3 dims, unsigned seed) {
  return {blobs(dims, seed, 1.2f), blobs(dims, seed, -1.2f)};
}

TEST(EstimateVariants, EverySize) {
  unsigned seed = 90;
  for (const glm::ivec3 dims : testSizes()) {
    SCOPED_TRACE(testing::Message() << dims.x << "x" << dims.y << "x" << dims.z);
    expectSameInEveryMode(blobPair(dims, ++seed), smallSchedule());
  }
}

TEST(EstimateVariants, EveryRowLength) {
  unsigned seed = 120;
  for (const int nx : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 65}) {
    SCOPED_TRACE(testing::Message() << "rows of " << nx);
    expectSameInEveryMode(blobPair({nx, 12, 5}, ++seed), smallSchedule());
  }
}

TEST(EstimateVariants, ForegroundAtEveryBorder) {
  Random random(91);
  const glm::ivec3 dims(19, 11, 8);
  expectSameInEveryMode({random.volume(dims, 101, 900), random.volume(dims, 101, 900)},
                        smallSchedule());
  expectSameInEveryMode({random.volume(dims, 0, 160), random.volume(dims, 0, 160)},
                        smallSchedule());
}

TEST(EstimateVariants, AmplitudesThatLeaveTheImage) {
  Schedule schedule = smallSchedule();
  schedule.amplitudes = {{-9.0f, 30.0f, 0.5f, -2.0f}, {30.0f, 0.2f, 6.0f}};
  expectSameInEveryMode(blobPair({18, 9, 6}, 92), schedule);
}

// No trial changes anything: every visit keeps what the voxels hold.
TEST(EstimateVariants, AmplitudesOfWhichNoneStaysInside) {
  Schedule schedule = smallSchedule();
  schedule.amplitudes = {{-90.0f, 40.0f, 90.0f}, {30.0f}};
  expectSameInEveryMode(blobPair({17, 9, 6}, 89), schedule);
}

TEST(EstimateVariants, PatternsOfEveryKind) {
  Random random(93);
  const RealPair pair = blobPair({17, 12, 7}, 94);
  for (const float value : {0.5f, 0.0f, -1.0f, std::nanf("")}) {
    Schedule schedule = smallSchedule();
    schedule.patterns[1] = Volume<float>(3, 5, 3, value);
    expectSameInEveryMode(pair, schedule);
  }
  Schedule mixed = smallSchedule();
  mixed.patterns = {random.volume({3, 5, 3}, 0, 1), Volume<float>(23, 3, 9, 1.0f)};
  expectSameInEveryMode(pair, mixed);
  // A single voxel off the constant takes the general path.
  Schedule nearly = smallSchedule();
  nearly.patterns[0].at(4, 4, 4) = 0.9f;
  expectSameInEveryMode(pair, nearly);
}

TEST(EstimateVariants, SingleDuplicateAndTiedAmplitudes) {
  const RealPair pair = blobPair({16, 10, 6}, 95);
  Schedule schedule = smallSchedule();
  schedule.amplitudes = {{0.7f}, {0.3f, 0.3f, -0.3f, -0.3f, 0.3f}};
  expectSameInEveryMode(pair, schedule);
  const RealPair same{pair.ap, pair.ap};
  expectSameInEveryMode(same, schedule);
}

TEST(EstimateVariants, ConstantAndDarkImages) {
  const glm::ivec3 dims(12, 10, 6);
  for (const float value : {500.0f, 100.0f, 0.0f})
    expectSameInEveryMode({Volume<float>(dims, value), Volume<float>(dims, value)},
                          smallSchedule());
}

TEST(EstimateVariants, ImagesThatAreNotFinite) {
  Random random(96);
  for (int round = 0; round < 3; ++round) {
    RealPair pair = blobPair({18, 10, 6}, 97);
    if (round != 1) sprinkleOddValues(pair.ap, random);
    if (round != 0) sprinkleOddValues(pair.pa, random);
    expectSameInEveryMode(pair, smallSchedule());
  }
}

TEST(EstimateVariants, NoScalesAndNoVoxels) {
  expectSameInEveryMode(blobPair({9, 8, 5}, 98), Schedule());
}

// The scales of the estimate task, written out.
Schedule taskSchedule(glm::dvec3 voxelSize) {
  const glm::dvec3 root(std::sqrt(voxelSize.x), std::sqrt(voxelSize.y), std::sqrt(voxelSize.z));
  Schedule s;
  s.patterns = {Volume<float>(7, 7, 7, 1.0f), Volume<float>(5, 5, 5, 1.0f),
                Volume<float>(5, 5, 5, 1.0f)};
  s.amplitudes.resize(3);
  for (int k = -6; k <= 6; k += 2) s.amplitudes[0].push_back(static_cast<float>(k) * 0.4f);
  for (int k = -5; k <= 5; ++k) s.amplitudes[1].push_back(static_cast<float>(k) * 0.3f);
  for (int k = -5; k <= 5; ++k) s.amplitudes[2].push_back(static_cast<float>(k) * 0.15f);
  s.sigmas = {12.0 / root, 6.0 / root, 2.0 / root};
  return s;
}

void expectSamePair(const RealPair& pair, glm::dvec3 voxelSize, const EstimateOptions& options) {
  bindFftw();
  const Schedule s = taskSchedule(voxelSize);
  std::ostringstream ignored;
  const Volume<float> wanted = reference::estimate_vdm(
      pair.ap, pair.pa, voxelSize, {0.5, 4.0 / voxelSize.y, 0.5}, options.useSsd, s.patterns,
      s.amplitudes, s.sigmas, options.intensityCorrection, ignored);
  forEachVariant([&](SimdVariant) {
    EXPECT_TRUE(compare::same(estimatePair(pair.ap, pair.pa, voxelSize, options, ignored), wanted));
  });
}

void expectSamePairInEveryMode(const RealPair& pair, glm::dvec3 voxelSize) {
  for (const bool useSsd : {true, false})
    for (const bool useIc : {true, false}) {
      SCOPED_TRACE(testing::Message() << "SSD " << useSsd << " intensities " << useIc);
      EstimateOptions options;
      options.useSsd = useSsd;
      options.intensityCorrection = useIc;
      expectSamePair(pair, voxelSize, options);
    }
}

TEST(EstimatePairVariants, BothMeasuresAndIntensityCorrection) {
  expectSamePairInEveryMode(blobPair({24, 20, 12}, 99), {2.0, 2.2, 2.5});
}

// The small one in every mode.
TEST(EstimatePairVariants, ARealPairInEveryMode) {
  const auto pair = readRealPair(realPairs[0]);
  if (!pair) GTEST_SKIP() << "no real data";
  expectSamePairInEveryMode(*pair, {3, 3, 3});
}

// The reference takes 9 to 16 seconds per mode: one of them.
TEST(EstimatePairVariants, ARealWholeBrain) {
  const auto pair = readRealPair(realPairs[1]);
  if (!pair) GTEST_SKIP() << "no real data";
  EstimateOptions options;
  options.useSsd = false;
  options.intensityCorrection = true;
  expectSamePair(*pair, {3, 3, 3}, options);
}

TEST(ColumnwiseVariants, RealPairs) {
  bool found = false;
  bindFftw();
  for (const char* name : realPairs)
    if (const auto pair = readRealPair(name)) {
      found = true;
      SCOPED_TRACE(name);
      const glm::dvec3 sigma(0.5, 4.0 / 3.0, 0.5);
      std::ostringstream wantedLog;
      const Volume<float> wanted =
          reference::simpleVDMestimate(pair->ap, pair->pa, sigma, wantedLog);
      forEachVariant([&](SimdVariant) {
        std::ostringstream log;
        EXPECT_TRUE(compare::same(simpleVDMestimate(pair->ap, pair->pa, sigma, log), wanted));
        EXPECT_EQ(log.str(), wantedLog.str());
      });
    }
  if (!found) GTEST_SKIP() << "no real data";
}

}  // namespace

}  // namespace mirel

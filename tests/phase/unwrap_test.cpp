#include "phase/unwrap.h"

#include <gtest/gtest.h>

#include <cmath>

#include "field/seriesfiles.h"
#include "phantom/random.h"
#include "phase/angle.h"
#include "phase/turnsets.h"

namespace mirel {

namespace {

using seriesfiles::filled;

constexpr glm::ivec3 dims{40, 36, 24};

// Up to 2 rad from voxel to voxel, and six turns in all.
double smoothPhase(int x, int y, int z) {
  const double dx = x - 22, dy = y - 15, dz = z - 10;
  return 38 * std::exp(-(dx * dx + dy * dy + 1.5 * dz * dz) / 250) + 0.1 * x - 8;
}

Volume<float> wrappedOf(const Volume<float>& truth) {
  return filled(truth.dimensions(), [&](int x, int y, int z) {
    return wrapped(static_cast<double>(truth.at(x, y, z)));
  });
}

Volume<float> withNoise(Volume<float> truth, double sigma) {
  const RandomStream random(7, 1);
  for (int n = 0; n < truth.size(); ++n)
    truth.data()[n] +=
        static_cast<float>(sigma * random.normalPair(static_cast<std::uint64_t>(n)).first);
  return truth;
}

// Voxels where the result is off by other turns than at the reference voxel.
int wrongTurns(const UnwrappedPhase& result, const Volume<float>& truth, glm::ivec3 reference) {
  const auto off = [&](int n) {
    return std::round(static_cast<double>(result.radians.data()[n] - truth.data()[n]) / turn);
  };
  const double all = off(truth.index(reference));
  int wrong = 0;
  for (int n = 0; n < truth.size(); ++n)
    wrong += !std::isnan(result.radians.data()[n]) && off(n) != all;
  return wrong;
}

const Volume<float> everywhere(dims, 1.0F);

TEST(TurnSets, TurnsAddUpAlongAnyWay) {
  TurnSets sets(6);
  sets.join(0, 1, 2);
  sets.join(2, 3, -1);
  sets.join(3, 1, 5);  // 1 has 5 more than 3
  sets.join(4, 5, 1);
  EXPECT_EQ(sets.turnsOf(1) - sets.turnsOf(0), 2);
  EXPECT_EQ(sets.turnsOf(1) - sets.turnsOf(2), 4);
  EXPECT_EQ(sets.sizeOf(2), 4);
  EXPECT_NE(sets.rootOf(4), sets.rootOf(0));
  sets.join(1, 0, 9);  // one set already
  EXPECT_EQ(sets.turnsOf(1) - sets.turnsOf(0), 2);
}

TEST(Unwrap, ASmoothPhaseComesBackUpToOneMultiple) {
  const Volume<float> truth = filled(dims, smoothPhase);
  const UnwrappedPhase result = unwrap(wrappedOf(truth), {}, everywhere);
  EXPECT_EQ(result.regions, 1);
  EXPECT_EQ(result.voxels, truth.size());
  const double off =
      std::round(static_cast<double>(result.radians.data()[0] - truth.data()[0]) / turn);
  for (int n = 0; n < truth.size(); ++n)
    ASSERT_NEAR(result.radians.data()[n] - truth.data()[n], off * turn, 1e-4);
}

TEST(Unwrap, TheMedianIsNearestToZero) {
  const Volume<float> truth = filled(dims, [](int x, int, int) { return 20.0 + 0.01 * x; });
  const UnwrappedPhase result = unwrap(wrappedOf(truth), {}, everywhere);
  EXPECT_NEAR(result.radians.at(20, 0, 0), 20.2 - 3 * turn, 1e-4);
}

TEST(Unwrap, NoiseOfASignalTenTimesLargerMakesNoTurnWrong) {
  const Volume<float> truth = filled(dims, smoothPhase);
  const Volume<float> noisy = withNoise(truth, 0.1 * std::sqrt(2.0));
  EXPECT_EQ(wrongTurns(unwrap(wrappedOf(noisy), {}, everywhere), noisy, {0, 0, 0}), 0);
}

TEST(Unwrap, RegionsApartGetTheSameMultiple) {
  // Less than half a turn across the gap, which is all that two sides can tell.
  const Volume<float> truth = filled(dims, [](int x, int y, int) { return 0.6 * x - 0.5 * y; });
  const Volume<float> mask = filled(
      dims, [](int x, int y, int) { return x < 12 || (x > 14 && (y < 20 || y > 21)) ? 1 : 0; });
  const UnwrappedPhase result = unwrap(wrappedOf(truth), {}, mask);
  EXPECT_EQ(result.regions, 3);
  EXPECT_EQ(wrongTurns(result, truth, {0, 0, 0}), 0);
  EXPECT_TRUE(std::isnan(result.radians.at(13, 5, 5)));
}

// A loop round a singularity gains a turn: the line of them has no signal, and what is good around
// it must not be torn.
TEST(Unwrap, SingularitiesSpoilNothingButThemselves) {
  const auto loop = [](double x, double y) {
    return std::atan2(y - 18.5, x - 14.5) - std::atan2(y - 18.5, x - 17.5);
  };
  const Volume<float> truth = filled(dims, smoothPhase);
  Volume<float> phase = truth;
  Volume<float> magnitude = withNoise(Volume<float>(dims, 100.0F), 3);
  for (int z = 0, n = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x, ++n) {
        const bool isNear = x > 12 && x < 20 && y > 16 && y < 21;
        if (isNear) phase.data()[n] += static_cast<float>(loop(x, y));
        if (isNear) magnitude.data()[n] *= 0.1F;
      }
  const UnwrappedPhase result = unwrap(wrappedOf(phase), magnitude, everywhere);
  int wrong = 0;
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x)
        if (magnitude.at(x, y, z) > 50)
          wrong += std::abs(result.radians.at(x, y, z) - truth.at(x, y, z) -
                            (result.radians.at(0, 0, 0) - truth.at(0, 0, 0))) > 0.01;
  EXPECT_EQ(wrong, 0);
}

TEST(Unwrap, NothingToUnwrapIsNothing) {
  const UnwrappedPhase result = unwrap(Volume<float>(dims, NAN), {}, everywhere);
  EXPECT_EQ(result.voxels, 0);
  EXPECT_EQ(result.regions, 0);
}

}  // namespace

}  // namespace mirel

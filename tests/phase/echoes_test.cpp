#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "phase/measuredfield.h"
#include "phase/simulatedphase.h"

// Fields of more than two echoes.

namespace mirel {

namespace {

constexpr glm::dvec3 voxelMm(4);

const Phantom& head() {
  static const Phantom made = [] {
    PhantomOptions options;
    options.size = {48, 54, 34};
    options.voxelMm = voxelMm;
    options.volumes = 0;
    return makePhantom(options);
  }();
  return made;
}

// The phases of echoes at `milliseconds` after the first one less its own, each with noise.
std::vector<EchoPhase> echoesAt(const std::vector<double>& milliseconds, double signalToNoise) {
  const double sigma = meanInMask(head().truth, head().brainMask) / signalToNoise;
  const auto noisy = [&](int voxel, double phase, std::uint64_t stream) {
    const auto noise = RandomStream(7, stream).normalPair(static_cast<std::uint64_t>(voxel));
    return std::polar(static_cast<double>(head().truth.data()[voxel]), phase) +
           std::complex<double>(sigma * noise.first, sigma * noise.second);
  };
  std::vector<EchoPhase> echoes;
  for (const double each : milliseconds) {
    EchoPhase echo{Volume<float>(head().truth.dimensions()), 1e-3 * each};
    for (int n = 0; n < echo.radians.size(); ++n) {
      const double grown = turn * echo.seconds * static_cast<double>(head().fieldHz.data()[n]);
      echo.radians.data()[n] = static_cast<float>(
          std::arg(noisy(n, 0.3 + grown, 2 + echoes.size()) * std::conj(noisy(n, 0.3, 1))));
    }
    echoes.push_back(std::move(echo));
  }
  return echoes;
}

double rmsInBrain(const Volume<float>& hz) {
  double squares = 0, voxels = 0;
  for (int n = 0; n < hz.size(); ++n) {
    if (head().brainMask.data()[n] == 0) continue;
    const double apart = static_cast<double>(hz.data()[n] - head().fieldHz.data()[n]);
    squares += apart * apart;
    ++voxels;
  }
  return std::sqrt(squares / voxels);
}

MeasuredField fieldOf(std::vector<EchoPhase> echoes) {
  return fieldOfEchoes(std::move(echoes), head().truth, voxelMm, "echoes");
}

TEST(FieldOfEchoes, EachFurtherOneTakesNoiseAway) {
  const double ofTwo = fieldOf(echoesAt({2}, 10)).noiseHz,
               ofFive = fieldOf(echoesAt({2, 4, 6, 8}, 10)).noiseHz;
  // Of independent noise the slope over n equally spaced echoes has a variance of 12 / n (n^2 - 1).
  EXPECT_NEAR(ofFive / ofTwo, std::sqrt((12.0 / (5 * 24)) / (12.0 / (2 * 3))), 0.05);
  EXPECT_LT(rmsInBrain(fieldOf(echoesAt({2, 4, 6, 8}, 10)).hz),
            0.7 * rmsInBrain(fieldOf(echoesAt({2}, 10)).hz));
}

TEST(FieldOfEchoes, AreUnwrappedInTime) {
  // At 24 ms a turn is 42 Hz; the field goes up to 120.
  const MeasuredField field = fieldOf(echoesAt({2, 6, 12, 24}, 20));
  double largest = 0;
  for (int n = 0; n < field.hz.size(); ++n)
    if (head().brainMask.data()[n] != 0)
      largest = std::max(
          largest, std::abs(static_cast<double>(field.hz.data()[n] - head().fieldHz.data()[n])));
  EXPECT_LT(largest, 20);
  EXPECT_LT(rmsInBrain(field.hz), 1);
}

TEST(FieldOfEchoes, TheirOrderDoesNotMatter) {
  const std::vector<EchoPhase> there = echoesAt({2, 4, 6}, 10);
  EXPECT_EQ(fieldOf(there).hz, fieldOf({there[2], there[0], there[1]}).hz);
}

TEST(FieldOfEchoes, AVoxelDoesWithoutAnEchoThatHasNoPhase) {
  std::vector<EchoPhase> echoes = echoesAt({2, 4}, 20);
  const double whole = rmsInBrain(fieldOf(echoes).hz);
  for (int n = 0; n < echoes[1].radians.size(); n += 3)
    echoes[1].radians.data()[n] = std::numeric_limits<float>::quiet_NaN();
  const MeasuredField field = fieldOf(echoes);
  EXPECT_LT(rmsInBrain(field.hz), 1.5 * whole);
  EXPECT_GT(field.voxels, 10000);
}

TEST(FieldOfEchoes, NoneIsNoField) { EXPECT_THROW(fieldOf({}), std::invalid_argument); }

}  // namespace

}  // namespace mirel

#include <gtest/gtest.h>

#include <iostream>

#include "phase/measuredfield.h"
#include "phase/simulatedphase.h"

namespace mirel {

namespace {

struct FieldError {
  double rms = 0, largest = 0;
  int wrongTurns = 0;
};

FieldError errorOf(const Volume<float>& hz, const SimulatedPhase& phase) {
  FieldError error;
  double squares = 0, voxels = 0;
  for (int n = 0; n < hz.size(); ++n) {
    if (phase.brain.data()[n] == 0.0F) continue;
    const double apart =
        std::abs(static_cast<double>(hz.data()[n]) - static_cast<double>(phase.truthHz.data()[n]));
    squares += apart * apart;
    ++voxels;
    error.largest = std::max(error.largest, apart);
    error.wrongTurns += apart > 0.5 / phase.seconds;
  }
  error.rms = std::sqrt(squares / voxels);
  return error;
}

constexpr glm::dvec3 voxelMm(3);

class FieldTruth : public testing::TestWithParam<double> {
 protected:
  static const Phantom& head() {
    static const Phantom made = [] {
      PhantomOptions options;
      options.size = {64, 72, 44};
      options.voxelMm = voxelMm;
      options.volumes = 0;
      return makePhantom(options);
    }();
    return made;
  }

  // Both without and with the truth's help.
  static void compare(const SimulatedPhase& phase, const std::string& what) {
    const MeasuredField ours =
        fieldOfEchoes({{phase.difference, phase.seconds}}, phase.magnitude, voxelMm, "p");
    const MeasuredField helped =
        fieldOfHertz(phase.unwrappedByTruth(), phase.magnitude, voxelMm, "p");
    const FieldError error = errorOf(ours.hz, phase), best = errorOf(helped.hz, phase);
    std::cout << what << ", " << 1000 * phase.seconds << " ms: " << error.wrongTurns
              << " voxels off by a turn, rms " << error.rms << " Hz, at most " << error.largest
              << "; with the truth's help " << best.rms << " and " << best.largest << "; noise "
              << ours.noiseHz << " Hz, " << ours.regions << " regions, " << ours.outliers
              << " outliers\n";
    EXPECT_EQ(error.wrongTurns, 0) << what;
    EXPECT_LE(error.rms, 1.2 * best.rms) << what;
    // Ten times the noise is the signal: 0.1 rad from either echo.
    EXPECT_LT(error.rms, 0.7 * ours.noiseHz) << what;
  }
};

TEST_P(FieldTruth, NoiseAndWraps) {
  for (const std::uint64_t seed : {1U, 2U})
    compare(simulatePhase(head(), GetParam(), {10, false}, seed), "noise");
}

TEST_P(FieldTruth, VoidsAndSingularities) {
  for (const std::uint64_t seed : {1U, 2U})
    compare(simulatePhase(head(), GetParam(), {10, true}, seed), "voids");
}

// The head is guessed from how well phases agree, and everything in it counts alike.
TEST_P(FieldTruth, NoMagnitude) {
  const SimulatedPhase phase = simulatePhase(head(), GetParam(), {10, false}, 1);
  const MeasuredField field = fieldOfEchoes({{phase.difference, phase.seconds}}, {}, voxelMm, "p");
  const FieldError error = errorOf(field.hz, phase);
  std::cout << "no magnitude: " << error.wrongTurns << " voxels off by a turn, rms " << error.rms
            << " Hz\n";
  EXPECT_EQ(error.wrongTurns, 0);
  EXPECT_LT(error.rms, 0.5 * field.noiseHz);
}

INSTANTIATE_TEST_SUITE_P(EchoDifferences, FieldTruth, testing::Values(0.00246, 0.007));

}  // namespace

}  // namespace mirel

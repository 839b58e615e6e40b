// The mass-preserving estimate of a simulated head of 90x104x60 voxels (MIREL_BENCH_SIZE for
// others): without motion, with the search for motion, and of a head that moved.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>

#include "checks.h"
#include "head.h"
#include "masspreserving/masspreserving.h"
#include "phantom/phantom.h"

namespace mirel {

namespace {

Phantom phantomOf(bool moved) {
  PhantomOptions options;
  if (std::getenv("MIREL_BENCH_SIZE") != nullptr) options.size = taskSize();
  if (moved) options.paMotion = {glm::dvec3(2.0), glm::dvec3(2.0)};
  return makePhantom(options);
}

const Phantom& phantom(bool moved) {
  static const Phantom still = phantomOf(false);
  static const Phantom moving = phantomOf(true);
  return moved ? moving : still;
}

double errorInBrain(const Phantom& truth, const Volume<float>& shift) {
  double sum = 0.0, count = 0.0;
  for (int i = 0; i < shift.size(); ++i) {
    if (truth.brainMask.data()[i] == 0) continue;
    const double d = static_cast<double>(shift.data()[i]) - truth.shiftVoxels.data()[i];
    sum += d * d;
    count += 1.0;
  }
  return count > 0.0 ? std::sqrt(sum / count) : 0.0;
}

void massPreserving(benchmark::State& state, bool search, bool moved) {
  const Phantom& head = phantom(moved);
  MassPreservingOptions options;
  options.estimateMotion = search;
  Volume<float> shift;
  for (auto _ : state)
    shift = estimateMassPreserving(head.ap, head.pa, head.options.voxelMm, options).shiftVoxels;
  state.counters["rms_voxels"] = errorInBrain(head, shift);
  const bool whole = shift.ny() > 60;
  if (whole && !(errorInBrain(head, shift) < 0.06)) state.SkipWithError("far from the truth");
  countVoxels(state, shift.dimensions());
}

}  // namespace

BENCHMARK_CAPTURE(massPreserving, no_motion, false, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(massPreserving, motion_searched, true, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(massPreserving, motion_found, true, true)->Unit(benchmark::kMillisecond);

}  // namespace mirel

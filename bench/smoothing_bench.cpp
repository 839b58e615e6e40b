// Gaussian smoothing of a volume, and the share of the three transforms in its time; and their
// share in the column-wise estimate, which smooths five times.
#include <benchmark/benchmark.h>

#include <chrono>

#include "checks.h"
#include "estimates.h"
#include "head.h"
#include "numerics/fft/fftaccess.h"
#include "numerics/volumegauss.h"
#include "reference/volumegauss.h"
#include "support/fftw_binding.h"

namespace mirel {

namespace {

double transformSeconds = 0;

struct TransformTimer {
  std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
  ~TransformTimer() {
    transformSeconds +=
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
};

decltype(plugin_fftw_execute) execute;
decltype(plugin_fftw_plan_dft_r2c_3d) planForward;
decltype(plugin_fftw_plan_dft_c2r_3d) planBackward;

void timedExecute(plugin_fftw_plan plan) {
  const TransformTimer timer;
  execute(plan);
}

plugin_fftw_plan timedPlanForward(int n0, int n1, int n2, float* in, plugin_fftw_complex* out,
                                  unsigned flags) {
  const TransformTimer timer;
  return planForward(n0, n1, n2, in, out, flags);
}

plugin_fftw_plan timedPlanBackward(int n0, int n1, int n2, plugin_fftw_complex* in, float* out,
                                   unsigned flags) {
  const TransformTimer timer;
  return planBackward(n0, n1, n2, in, out, flags);
}

// Times what passes through the FFT entry points while it exists.
struct TimedTransforms {
  TimedTransforms() {
    execute = plugin_fftw_execute;
    planForward = plugin_fftw_plan_dft_r2c_3d;
    planBackward = plugin_fftw_plan_dft_c2r_3d;
    plugin_fftw_execute = timedExecute;
    plugin_fftw_plan_dft_r2c_3d = timedPlanForward;
    plugin_fftw_plan_dft_c2r_3d = timedPlanBackward;
    transformSeconds = 0;
  }
  TimedTransforms(const TimedTransforms&) = delete;
  TimedTransforms& operator=(const TimedTransforms&) = delete;
  ~TimedTransforms() { bindFftw(); }
};

template <typename Smooth>
void smoothing(benchmark::State& state, Smooth smooth) {
  const HeadPair& head = headOf(taskSize());
  const TimedTransforms timed;
  Volume<float> result;
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) result = smooth(head.ap);
  const double total =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  checkSame(state, "smoothing", result);
  state.counters["around_the_transforms"] = 1 - transformSeconds / total;
  countVoxels(state, taskSize());
}

void smoothingReference(benchmark::State& state) {
  smoothing(state, [](const Volume<float>& v) {
    return reference::getAppliedGauss(v, glm::dvec3(1.5, 1.5, 1.5), glm::ivec3(0, 0, 0));
  });
}

void smoothingEngine(benchmark::State& state) {
  smoothing(state, [](const Volume<float>& v) {
    return getAppliedGauss(v, glm::dvec3(1.5, 1.5, 1.5), glm::ivec3(0, 0, 0));
  });
}

void columnwiseTransforms(benchmark::State& state) {
  const HeadPair& head = headOf(taskSize());
  const TimedTransforms timed;
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) checkSame(state, "fast", estimateByEngine(head, optionsNamed("fast")));
  const double total =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  state.counters["around_the_transforms"] = 1 - transformSeconds / total;
}

}  // namespace

BENCHMARK(smoothingReference)->Unit(benchmark::kMillisecond);
BENCHMARK(smoothingEngine)->Unit(benchmark::kMillisecond);
BENCHMARK(columnwiseTransforms)->Unit(benchmark::kMillisecond);

}  // namespace mirel

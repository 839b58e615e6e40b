// The limits of this machine that the kernels are held against.
#include <benchmark/benchmark.h>

#include <utility>
#include <vector>

#include "checks.h"
#include "head.h"
#include "machinekernels.h"

namespace mirel {

namespace {

void machineAdditions(benchmark::State& state) {
  constexpr int elements = 2048, rounds = 500;  // 16 KiB
  const std::vector<double> values(elements, 1.0);
  double sum = 0;
  for (auto _ : state) sum = addLoaded(values.data(), elements, rounds, chosenVariant());
  if (sum != double{elements} * rounds) state.SkipWithError("a wrong sum");
  countNeeded(state, sum);
}

void machineArithmetic(benchmark::State& state) {
  constexpr int rounds = 100000;
  float result = 0;
  for (auto _ : state) {
    result = multiplyAndAdd(0.5f, rounds, chosenVariant());
    benchmark::DoNotOptimize(std::as_const(result));
  }
  if (!(result > 0)) state.SkipWithError("a wrong result");
  countNeeded(state, 2.0 * 12 * floatLanes(chosenVariant()) * rounds);
}

// Two volumes read, one written.
void stream(benchmark::State& state, glm::ivec3 dims) {
  const Volume<float> a(dims, 1.0f), b(dims, 2.0f);
  Volume<float> sum(dims, 0.0f);
  for (auto _ : state) {
    const float *p = a.data(), *q = b.data();
    float* out = sum.data();
#pragma GCC ivdep
    for (int i = 0; i < sum.size(); ++i) out[i] = p[i] + q[i];
    benchmark::ClobberMemory();
  }
  if (sum.data()[sum.size() - 1] != 3.0f) state.SkipWithError("a wrong sum");
  countNeeded(state, 3.0 * static_cast<double>(sum.sizeInBytes()));
}

void machineKernelStream(benchmark::State& state) { stream(state, kernelSize()); }
void machineTaskStream(benchmark::State& state) { stream(state, taskSize()); }
// Sixteen times the task: far beyond the caches.
void machineMemoryStream(benchmark::State& state) {
  stream(state, taskSize() * glm::ivec3(1, 1, 16));
}

}  // namespace

BENCHMARK(machineAdditions)->Unit(benchmark::kMillisecond);
BENCHMARK(machineArithmetic)->Unit(benchmark::kMillisecond);
BENCHMARK(machineKernelStream)->Unit(benchmark::kMillisecond);
BENCHMARK(machineTaskStream)->Unit(benchmark::kMillisecond);
BENCHMARK(machineMemoryStream)->Unit(benchmark::kMillisecond);

}  // namespace mirel

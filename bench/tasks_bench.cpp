// The whole tasks, engine and plain reference on the same pair: estimates and applications.
#include <benchmark/benchmark.h>

#include "checks.h"
#include "estimates.h"
#include "head.h"
#include "reference/vdm.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

void estimateReference(benchmark::State& state, const std::string& name) {
  const HeadPair& head = headOf(taskSize());
  for (auto _ : state) checkSame(state, name, estimateByReference(head, optionsNamed(name)));
  countVoxels(state, taskSize());
}

void estimateEngine(benchmark::State& state, const std::string& name) {
  const HeadPair& head = headOf(taskSize());
  for (auto _ : state) checkSame(state, name, estimateByEngine(head, optionsNamed(name)));
  countVoxels(state, taskSize());
}

void applyReference(benchmark::State& state) {
  const HeadPair& head = headOf(taskSize());
  for (auto _ : state)
    checkClose(state, "spline", reference::applyVdm(head.vdm, head.ap, /*rllr=*/false, false));
  countVoxels(state, taskSize());
}

void applyEngine(benchmark::State& state) {
  const HeadPair& head = headOf(taskSize());
  Volume<float> result;
  for (auto _ : state) {
    result = applyVdm(head.vdm, head.ap, /*rllr=*/false, false);
    benchmark::DoNotOptimize(result.data());
  }
  checkClose(state, "spline", result);
  countVoxels(state, taskSize());
  countNeeded(state, 3.0 * static_cast<double>(result.sizeInBytes()));
}

void applyEngineTransposed(benchmark::State& state) {
  const HeadPair& head = headOf(taskSize());
  const Volume<float> image = head.ap.transposeXY();
  Volume<float> result;
  for (auto _ : state) {
    result = applyVdm(head.vdm, image, /*rllr=*/true, false);
    benchmark::DoNotOptimize(result.data());
  }
  checkClose(state, "spline", result.transposeXY());
  countVoxels(state, taskSize());
}

void transposition(benchmark::State& state) {
  const HeadPair& head = headOf(taskSize());
  Volume<float> result;
  for (auto _ : state) {
    result = head.ap.transposeXY();
    benchmark::DoNotOptimize(result.data());
  }
  for (int i = 0; i < result.nx(); ++i)
    if (result.at(i, 1, 1) != head.ap.at(1, i, 1)) state.SkipWithError("not transposed");
  countVoxels(state, taskSize());
  countNeeded(state, 2.0 * static_cast<double>(result.sizeInBytes()));
}

}  // namespace

#define MIREL_ESTIMATE(name)                                                                       \
  BENCHMARK_CAPTURE(estimateReference, name, #name)->Unit(benchmark::kMillisecond)->Iterations(1); \
  BENCHMARK_CAPTURE(estimateEngine, name, #name)->Unit(benchmark::kMillisecond);
MIREL_ESTIMATE(ssd)
MIREL_ESTIMATE(ssd_corrected)
MIREL_ESTIMATE(ncc)
MIREL_ESTIMATE(ncc_corrected)
MIREL_ESTIMATE(fast)
#undef MIREL_ESTIMATE

BENCHMARK(applyReference)->Unit(benchmark::kMillisecond);
BENCHMARK(applyEngine)->Unit(benchmark::kMillisecond);
BENCHMARK(applyEngineTransposed)->Unit(benchmark::kMillisecond);
BENCHMARK(transposition)->Unit(benchmark::kMillisecond);

}  // namespace mirel

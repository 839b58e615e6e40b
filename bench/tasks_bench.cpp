// The whole tasks, engine and plain reference on the same pair: estimates and applications.
#include <benchmark/benchmark.h>

#include <cmath>
#include <sstream>

#include "checks.h"
#include "head.h"
#include "reference/simplevdmestimate.h"
#include "reference/vdm.h"
#include "reference/vdmestimate.h"
#include "reference/volumegauss.h"
#include "vdm/estimatepair.h"
#include "vdm/vdm.h"

namespace {

const glm::dvec3 voxelSize(2, 2, 2);

EstimateOptions ssdOptions() { return {/*fast=*/false, /*useSsd=*/true, false}; }
EstimateOptions nccOptions() { return {/*fast=*/false, /*useSsd=*/false, false}; }
EstimateOptions fastOptions() { return {/*fast=*/true, /*useSsd=*/false, false}; }

EstimateOptions corrected(EstimateOptions options) {
  options.intensityCorrection = true;
  return options;
}

std::string keyOf(const EstimateOptions& o) {
  return std::string(o.fast     ? "fast"
                     : o.useSsd ? "ssd"
                                : "ncc") +
         (o.intensityCorrection ? " corrected" : "");
}

Volume<float> estimatePlainly(const HeadPair& head, const EstimateOptions& options) {
  std::ostringstream log;
  const glm::dvec3 fitSigma(0.5, 4.0 / voxelSize.y, 0.5);
  if (options.fast) {
    Volume<float> vdm = reference::simpleVDMestimate(head.ap, head.pa, fitSigma, log);
    reference::applyGauss(vdm, glm::dvec3(1.5, 1.5, 1.5), glm::ivec3(0, 0, 0), true);
    return vdm;
  }
  const LevelSchedule s = makeLevelSchedule(voxelSize);
  return reference::estimate_vdm(head.ap, head.pa, voxelSize, fitSigma, options.useSsd, s.patterns,
                                 s.amplitudes, s.sigmas, options.intensityCorrection, log);
}

void estimateReference(benchmark::State& state, EstimateOptions options) {
  const HeadPair& head = headOf(taskSize());
  for (auto _ : state) checkSame(state, keyOf(options), estimatePlainly(head, options));
  countVoxels(state, taskSize());
}

void estimateEngine(benchmark::State& state, EstimateOptions options) {
  const HeadPair& head = headOf(taskSize());
  for (auto _ : state) {
    std::ostringstream log;
    checkSame(state, keyOf(options), estimatePair(head.ap, head.pa, voxelSize, options, log));
  }
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
}

}  // namespace

#define MIREL_ESTIMATE(name, options)                 \
  BENCHMARK_CAPTURE(estimateReference, name, options) \
      ->Unit(benchmark::kMillisecond)                 \
      ->Iterations(1);                                \
  BENCHMARK_CAPTURE(estimateEngine, name, options)->Unit(benchmark::kMillisecond);
MIREL_ESTIMATE(ssd, ssdOptions())
MIREL_ESTIMATE(ssd_corrected, corrected(ssdOptions()))
MIREL_ESTIMATE(ncc, nccOptions())
MIREL_ESTIMATE(ncc_corrected, corrected(nccOptions()))
MIREL_ESTIMATE(fast, fastOptions())
#undef MIREL_ESTIMATE

BENCHMARK(applyReference)->Unit(benchmark::kMillisecond);
BENCHMARK(applyEngine)->Unit(benchmark::kMillisecond);
BENCHMARK(applyEngineTransposed)->Unit(benchmark::kMillisecond);
BENCHMARK(transposition)->Unit(benchmark::kMillisecond);

// Single kernels, engine and plain reference at half the task's size along every axis.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <sstream>
#include <utility>

#include "checks.h"
#include "head.h"
#include "numerics/distance.h"
#include "numerics/volumegauss.h"
#include "reference/simplevdmestimate.h"
#include "reference/vdm.h"
#include "reference/vectortransform.h"
#include "reference/volumegauss.h"
#include "simd/variant.h"
#include "vdm/columnfitkernels.h"
#include "vdm/estimatepair.h"
#include "vdm/literalsweep.h"
#include "vdm/simplevdmestimate.h"
#include "vdm/trialsearch.h"
#include "vdm/vdm.h"

namespace mirel {

namespace {

const std::vector<float>& sweepAmplitudes() {
  static const std::vector<float> amplitudes = makeLevelSchedule({2, 2, 2}).amplitudes[1];
  return amplitudes;
}

// A sweep of the second scale from half the true map.
SweepInput sweepInput() {
  const HeadPair& head = headOf(kernelSize());
  SweepInput in{head.ap, head.pa, Volume<float>(kernelSize()), Volume<float>(kernelSize()),
                head.vdm * 0.5f};
  applyVdmYLinear(in.apUndistorted, in.ap, in.vdm, /*reverse=*/false);
  applyVdmYLinearReverse(in.paUndistorted, in.pa, in.vdm);
  return in;
}

std::string sweepKey(bool useSsd) { return useSsd ? "sweep ssd" : "sweep ncc"; }

void sweepReference(benchmark::State& state, bool useSsd) {
  const SweepInput in = sweepInput();
  for (auto _ : state)
    checkSame(state, sweepKey(useSsd),
              literalSweep(in, Volume<float>(5, 5, 5, 1.0f), sweepAmplitudes(), useSsd).updated);
  countVoxels(state, kernelSize());
}

// The voxels of `dims` that a window of 2 * half + 1 per axis covers, summed over all centres for
// which `counts` holds.
template <typename Counts>
double windowVoxels(glm::ivec3 dims, int half, Counts counts) {
  const auto covered = [half](int p, int n) {
    return std::min(n - 1, p + half) - std::max(0, p - half) + 1;
  };
  double sum = 0;
  for (int z = 0; z < dims.z; ++z)
    for (int y = 0; y < dims.y; ++y)
      for (int x = 0; x < dims.x; ++x)
        if (counts(glm::ivec3(x, y, z)))
          sum += covered(x, dims.x) * covered(y, dims.y) * covered(z, dims.z);
  return sum;
}

// Per voxel of a trial's window: an addition, or five additions and three products.
double sweepNeeds(const Volume<float>& weights, bool useSsd) {
  return windowVoxels(weights.dimensions(), 2, [&](glm::ivec3 p) { return weights[p] == 1; }) *
         static_cast<double>(sweepAmplitudes().size()) * (useSsd ? 1 : 8);
}

void sweepEngine(benchmark::State& state, bool useSsd) {
  const SweepInput in = sweepInput();
  Volume<float> weights;
  for (auto _ : state) {
    Volume<float> updated = in.vdm;
    weights = Volume<float>(kernelSize(), 0.25f);
    searchConstantPattern({in.ap, in.pa, in.apUndistorted, in.paUndistorted, in.vdm},
                          {{5, 5, 5}, 1.0f}, sweepAmplitudes(), useSsd, 100.0f, updated, weights,
                          chosenVariant());
    checkSame(state, sweepKey(useSsd), updated);
  }
  countVoxels(state, kernelSize());
  countNeeded(state, sweepNeeds(weights, useSsd));
}

template <typename Convolve>
void convolution(benchmark::State& state, Convolve convolve) {
  const HeadPair& head = headOf(kernelSize());
  Volume<float> weights(kernelSize(), 0.25f);
  for (int i = 0; i < weights.size(); ++i)
    if (head.ap.data()[i] > 100) weights.data()[i] = 1;
  const Volume<float> kernel = createGaussianKernel3D<float>(
      glm::ivec3(9, 9, 9), glm::dvec3(4, 4, 4), glm::ivec3(0, 0, 0), /*wrap=*/false);
  for (auto _ : state) {
    Volume<float> vdm = head.vdm;
    convolve(vdm, kernel, weights);
    checkSame(state, "convolution", vdm);
  }
  countVoxels(state, kernelSize());
  // Per tap two products and two additions.
  countNeeded(state, 4 * windowVoxels(kernelSize(), 4, [](glm::ivec3) { return true; }));
}

void convolutionReference(benchmark::State& state) {
  convolution(state, [](Volume<float>& v, const Volume<float>& k, const Volume<float>& w) {
    reference::convolve3D(v, k, w, true);
  });
}

void convolutionEngine(benchmark::State& state) {
  convolution(state, [](Volume<float>& v, const Volume<float>& k, const Volume<float>& w) {
    convolve3D(v, k, w, /*normalize=*/true);
  });
}

template <typename Resample>
void resampling(benchmark::State& state, const char* key, Resample resample) {
  const HeadPair& head = headOf(kernelSize());
  Volume<float> result(kernelSize());
  for (auto _ : state) {
    resample(result, head.ap, head.vdm);
    benchmark::DoNotOptimize(result.data());
  }
  checkClose(state, key, result);
  countVoxels(state, kernelSize());
  countNeeded(state, 3.0 * static_cast<double>(result.sizeInBytes()));
}

using V = Volume<float>;

void linearReference(benchmark::State& state) {
  resampling(state, "linear kernel", [](V& dst, const V& src, const V& vdm) {
    reference::applyVdmYLinear(dst, src, vdm, false);
  });
}
void linearEngine(benchmark::State& state) {
  resampling(state, "linear kernel", [](V& dst, const V& src, const V& vdm) {
    applyVdmYLinear(dst, src, vdm, /*reverse=*/false);
  });
}
void splineReference(benchmark::State& state) {
  resampling(state, "spline kernel", [](V& dst, const V& src, const V& vdm) {
    reference::applyVdmYSpline(dst, src, vdm, false);
  });
}
void splineEngine(benchmark::State& state) {
  resampling(state, "spline kernel", [](V& dst, const V& src, const V& vdm) {
    applyVdmYSpline(dst, src, vdm, /*reverse=*/false);
  });
}

template <typename Correct>
void intensities(benchmark::State& state, Correct correct) {
  const HeadPair& head = headOf(kernelSize());
  Volume<float> ap, pa;
  for (auto _ : state) correct(ap, pa, head.ap, head.pa, head.vdm);
  checkSame(state, "intensities ap", ap);
  checkSame(state, "intensities pa", pa);
  countVoxels(state, kernelSize());
  countNeeded(state, 5.0 * static_cast<double>(ap.sizeInBytes()));
}

void intensitiesReference(benchmark::State& state) {
  intensities(state, reference::correctIntensities);
}
void intensitiesEngine(benchmark::State& state) { intensities(state, correctIntensities); }

// The fits of all columns, ten steps each at most; images smoothed and derivatives by difference.
struct FitInput {
  Volume<float> ap, pa, apDerivative, paDerivative;
  FitInput()
      : ap(headOf(kernelSize()).ap),
        pa(headOf(kernelSize()).pa),
        apDerivative(getSimpleYDerivative(ap)),
        paDerivative(getSimpleYDerivative(pa)) {}
};

reference::Fit fitPlainly(const FitInput& in, const Vector<float>& q, int x, int z) {
  return reference::fitColumn(
      {reference::getColumnFromVolume(in.ap, x, z), reference::getColumnFromVolume(in.pa, x, z),
       reference::getColumnFromVolume(in.apDerivative, x, z),
       reference::getColumnFromVolume(in.paDerivative, x, z), q},
      {1.0f, 0.0f});
}

void columnFitsReference(benchmark::State& state) {
  const FitInput in;
  const Vector<float> q = reference::getCoordinateVector<float>(in.ap.ny());
  for (auto _ : state) {
    Volume<float> scales(in.ap.nx(), 1, in.ap.nz());
    for (int z = 0; z < in.ap.nz(); ++z)
      for (int x = 0; x < in.ap.nx(); ++x) scales.at(x, 0, z) = fitPlainly(in, q, x, z).a;
    checkSame(state, "column fits", scales);
  }
  countVoxels(state, kernelSize());
}

// Additions and products: 21 per row for a cost, 29 more for a step.
double fitNeeds(const FitInput& in) {
  const Vector<float> q = reference::getCoordinateVector<float>(in.ap.ny());
  double sum = 0;
  for (int z = 0; z < in.ap.nz(); ++z)
    for (int x = 0; x < in.ap.nx(); ++x) {
      const int steps = fitPlainly(in, q, x, z).steps;
      sum += in.ap.ny() * (21 * std::min(steps + 1, 10) + 29 * steps);
    }
  return sum;
}

void columnFitsEngine(benchmark::State& state) {
  const FitInput in;
  const std::size_t nx = static_cast<std::size_t>(in.ap.nx());
  const std::vector<float> fitted(nx, 1.0f);
  Volume<float> vdm(kernelSize());
  for (auto _ : state) {
    Volume<float> scales(in.ap.nx(), 1, in.ap.nz(), 1.0f);
    std::vector<float> shifts(nx);
    for (int z = 0; z < in.ap.nz(); ++z) {
      shifts.assign(nx, 0.0f);
      fitColumns({&in.ap.at(0, 0, z), &in.pa.at(0, 0, z), &in.apDerivative.at(0, 0, z),
                  &in.paDerivative.at(0, 0, z), vdm.nx(), vdm.ny(), fitted.data(),
                  &scales.at(0, 0, z), shifts.data(), &vdm.at(0, 0, z)},
                 chosenVariant());
    }
    checkSame(state, "column fits", scales);
  }
  countVoxels(state, kernelSize());
  countNeeded(state, fitNeeds(in));
}

// The serial single-precision sums that the logged correlation is defined by.
void correlation(benchmark::State& state) {
  const HeadPair& head = headOf(taskSize());
  double value = 0;
  for (auto _ : state) {
    value = ncc(head.ap, head.pa);
    // As a constant: the form for variables may change them (seen with g++ 12 and sanitizers).
    benchmark::DoNotOptimize(std::as_const(value));
  }
  if (!(value > 0.1 && value < 1)) state.SkipWithError("not a correlation");
  countVoxels(state, taskSize());
}

}  // namespace

#define MIREL_KERNEL(...) BENCHMARK(__VA_ARGS__)->Unit(benchmark::kMillisecond)
BENCHMARK_CAPTURE(sweepReference, ssd, true)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_CAPTURE(sweepEngine, ssd, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sweepReference, ncc, false)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_CAPTURE(sweepEngine, ncc, false)->Unit(benchmark::kMillisecond);
MIREL_KERNEL(columnFitsReference);
MIREL_KERNEL(columnFitsEngine);
MIREL_KERNEL(convolutionReference);
MIREL_KERNEL(convolutionEngine);
MIREL_KERNEL(linearReference);
MIREL_KERNEL(linearEngine);
MIREL_KERNEL(splineReference);
MIREL_KERNEL(splineEngine);
MIREL_KERNEL(intensitiesReference);
MIREL_KERNEL(intensitiesEngine);
MIREL_KERNEL(correlation);
#undef MIREL_KERNEL

}  // namespace mirel

#pragma once

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <map>
#include <string>

#include "containers/volume.h"

namespace mirel {

/// Results under one key are the same to the bit, whoever computed them: the first is kept, later
/// ones are compared with it. A difference fails the benchmark.
inline void checkSame(benchmark::State& state, const std::string& key, const Volume<float>& got) {
  static std::map<std::string, Volume<float>> kept;
  const auto [entry, isFirst] = kept.try_emplace(key, got);
  if (isFirst) return;
  const Volume<float>& first = entry->second;
  if (got.dimensions() != first.dimensions() ||
      std::memcmp(got.data(), first.data(), got.sizeInBytes()) != 0)
    state.SkipWithError(("the results of " + key + " differ").c_str());
}

/// The same for results that agree but for rounding, relative to the largest magnitude.
inline void checkClose(benchmark::State& state, const std::string& key, const Volume<float>& got) {
  static std::map<std::string, Volume<float>> kept;
  const auto [entry, isFirst] = kept.try_emplace(key, got);
  if (isFirst) return;
  const Volume<float>& first = entry->second;
  float largest = 0, difference = 0;
  for (int i = 0; i < got.size(); ++i) {
    largest = std::max(largest, std::abs(first.data()[i]));
    difference = std::max(difference, std::abs(first.data()[i] - got.data()[i]));
  }
  if (!(difference <= 2e-7f * largest))
    state.SkipWithError(("the results of " + key + " differ").c_str());
}

inline void countVoxels(benchmark::State& state, glm::ivec3 dims) {
  state.counters["voxels/s"] = benchmark::Counter(static_cast<double>(dims.x) * dims.y * dims.z,
                                                  benchmark::Counter::kIsIterationInvariantRate,
                                                  benchmark::Counter::kIs1000);
}

/// What one iteration cannot do without, in the unit of the machine's limit that the table holds
/// it against.
inline void countNeeded(benchmark::State& state, double amount) {
  state.counters["needed"] = benchmark::Counter(amount);
}

}  // namespace mirel

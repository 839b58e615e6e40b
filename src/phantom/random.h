#pragma once

#include <cmath>
#include <cstdint>
#include <numbers>

namespace mirel {

/// Counter-based random numbers: the value depends on (seed, stream, counter) only, never on what
/// was drawn before, so that any part of a phantom can be made again on its own. The mixing
/// function is the finaliser of SplitMix64 (Steele, Lea & Flood, OOPSLA 2014), applied three
/// times; the distributions are written here because those of <random> differ between libraries.
class RandomStream {
 public:
  RandomStream(std::uint64_t seed, std::uint64_t stream) : key(mix(mix(seed) ^ stream)) {}

  std::uint64_t bits(std::uint64_t counter) const { return mix(key ^ mix(counter)); }

  /// Uniform in (0, 1), never 0 or 1: the middle of one of 2^52 equal parts.
  double uniform(std::uint64_t counter) const {
    return (static_cast<double>(bits(counter) >> 12) + 0.5) * 0x1p-52;
  }

  /// Two independent normal deviates, mean 0 and variance 1 (Box & Muller, 1958).
  struct Pair {
    double first, second;
  };
  Pair normalPair(std::uint64_t counter) const {
    const double radius = std::sqrt(-2.0 * std::log(uniform(2 * counter)));
    const double angle = 2.0 * std::numbers::pi * uniform(2 * counter + 1);
    return {radius * std::cos(angle), radius * std::sin(angle)};
  }

 private:
  static std::uint64_t mix(std::uint64_t z) {
    z += 0x9e3779b97f4a7c15ULL;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
  }

  std::uint64_t key;
};

}  // namespace mirel

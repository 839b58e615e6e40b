#pragma once

#include <cstdint>

namespace mirel {

/// The output function of SplitMix64 (Steele, Lea & Flood, OOPSLA 2014): a bijection of 64-bit
/// numbers that leaves no pattern of its argument, for counter-based random numbers.
constexpr std::uint64_t splitMix64(std::uint64_t z) {
  z += 0x9e3779b97f4a7c15ULL;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
  return z ^ (z >> 31);
}

}  // namespace mirel

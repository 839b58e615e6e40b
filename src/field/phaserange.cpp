#include "field/phaserange.h"

#include <algorithm>
#include <numbers>

namespace mirel {

namespace {

constexpr double pi = std::numbers::pi;
// The slack of the ends in radians is that of a float and of texts with four digits.
constexpr PhaseRange ranges[] = {
    {"0 .. 4095", 0, 4096, 64, 2048, pi / 2048},
    {"-4096 .. 4094", -4096, 4096, 64, 0, pi / 4096},
    {"-2048 .. 2047", -2048, 2048, 64, 0, pi / 2048},
    {"-3142 .. 3142, thousandths of a radian", -3142, 3142, 50, 0, 0.001},
    {"-pi .. pi", -3.1417, 3.1417, 0.05, 0, 1},
    {"0 .. 2 pi", 0, 6.2833, 0.05, 0, 1},
};

}  // namespace

std::span<const PhaseRange> phaseRanges() { return ranges; }

const PhaseRange* filledPhaseRange(double least, double greatest) {
  const auto* found =
      std::find_if(std::begin(ranges), std::end(ranges), [&](const PhaseRange& range) {
        return least >= range.lowest && least <= range.lowest + range.slack &&
               greatest <= range.highest && greatest >= range.highest - range.slack;
      });
  return found == std::end(ranges) ? nullptr : found;
}

}  // namespace mirel

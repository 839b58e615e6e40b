#pragma once

#include <cmath>
#include <numbers>

namespace mirel {

inline constexpr double turn = 2 * std::numbers::pi;

/// The angle within half a turn of 0 that is the same up to whole turns, by the exact IEEE
/// remainder. NaN for what is not finite.
inline double wrapped(double radians) { return std::remainder(radians, turn); }

}  // namespace mirel

#pragma once

#include <array>
#include <cstdint>

namespace mirel::picture {

/// A red, green and blue value, 0 to 255 each.
using Colour = std::array<std::uint8_t, 3>;

/// 0 to 1 as a byte, rounded; what lies outside is cut off, NaN is 0.
inline std::uint8_t toByte(float unit) {
  const float inside = unit > 0.0F ? (unit < 1.0F ? unit : 1.0F) : 0.0F;
  return static_cast<std::uint8_t>(inside * 255.0F + 0.5F);
}

/// `weight` (0 to 1) of `over`, the rest of `under`; rounded.
inline Colour mixed(Colour under, Colour over, float weight) {
  Colour result{};
  for (std::size_t i = 0; i < 3; ++i)
    result[i] = static_cast<std::uint8_t>(
        static_cast<float>(under[i]) +
        (static_cast<float>(over[i]) - static_cast<float>(under[i])) * weight + 0.5F);
  return result;
}

}  // namespace mirel::picture

#pragma once

#include <array>
#include <cstdint>

namespace mirel {

/// The seven rows of a character of 5 x 7 dots from the top, bit 4 leftmost. Small letters look
/// like capitals; a character that the font does not have is blank.
std::array<std::uint8_t, 7> glyphRows(char character);

}  // namespace mirel

#pragma once

#include <array>

#include "picture/colour.h"

/// Colours and sizes (pixels) that the parts of a picture share.
namespace mirel::picture::looks {

inline constexpr Colour background{0, 0, 0};
inline constexpr Colour title{255, 255, 255};
inline constexpr Colour text{205, 205, 205};
inline constexpr Colour letter{150, 160, 175};
inline constexpr Colour red{255, 110, 100};
inline constexpr Colour cyan{90, 225, 225};
/// Of contours, in turn.
inline constexpr std::array<Colour, 4> contours{Colour{80, 230, 90}, Colour{255, 190, 30},
                                                Colour{240, 110, 240}, Colour{70, 210, 255}};

/// Sizes of text, in pixels per em.
struct Sizes {
  int title = 15, text = 13, number = 13, letter = 12;

  /// All of them `factor` times as large.
  static Sizes scaled(double factor) {
    const auto size = [factor](int s) { return static_cast<int>(s * factor + 0.5); };
    return {size(15), size(13), size(13), size(12)};
  }
};

}  // namespace mirel::picture::looks

#pragma once

#include <vector>

#include "picture/cut.h"
#include "picture/image.h"
#include "picture/scale.h"

/// Pixels from values. Pixels off an image's grid are black. All cuts of one picture have the same
/// width and height, else std::invalid_argument.
namespace mirel::picture {

/// In grey.
RgbImage drawGrey(const Cut& image, Window window);

/// `first` in red, `second` in cyan: where they agree the picture is grey.
RgbImage drawOverlay(const Cut& first, Window firstWindow, const Cut& second, Window secondWindow);

/// One byte for each pixel of a cut: not 0 where the map was measured; empty: everywhere.
using Measured = std::vector<char>;

/// How much of a map's colour there is over anatomy, of 1: atLimit |value / limit|^exponent,
/// atLimit beyond the limit; the part `unmeasured` of that where nothing was measured.
struct MapWeight {
  float atLimit = 0.85F, exponent = 0.6F, unmeasured = 0.25F;
};
inline constexpr MapWeight mapWeight;

/// A map in colours (divergingColour), full colour at `limit` and beyond. Where nothing was
/// measured it is faded, by the same part, on black.
RgbImage drawMap(const Cut& map, float limit, const Measured& measured = {});

/// A map laid over anatomy in grey: the colour covers it by mapWeight, not at 0, where the anatomy
/// stays as it is.
RgbImage drawMapOver(const Cut& anatomy, Window window, const Cut& map, float limit,
                     const Measured& measured = {});

}  // namespace mirel::picture

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

/// A map in colours (divergingColour), full colour at `limit` and beyond. Where nothing was
/// measured it is faded: a quarter of the colour, on black.
RgbImage drawMap(const Cut& map, float limit, const Measured& measured = {});

/// A map laid over anatomy in grey: the colour covers 85 % of it at `limit` and beyond, less
/// towards 0 (the weight is 0.85 |value / limit|^0.6), where the anatomy stays as it is. Where
/// nothing was measured a quarter of that is left.
RgbImage drawMapOver(const Cut& anatomy, Window window, const Cut& map, float limit,
                     const Measured& measured = {});

}  // namespace mirel::picture

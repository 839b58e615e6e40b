#pragma once

#include <string>

#include "picture/font.h"
#include "picture/image.h"

namespace mirel::picture {

/// The scale of the maps of one unit.
struct ColourBar {
  std::string unit;    ///< stands above the bar; "no unit" where it is empty
  float limit = 1.0F;  ///< the bar runs from -limit to limit
  /// A map has values beyond the limit: the numbers at the ends say so.
  bool below = false, above = false;
};

/// The bar, upright: red at the top, with numbers at both ends, in the middle and halfway, and the
/// unit above. It takes `height` pixels, at least leastBarHeight of the size of its text in pixels
/// per em, and the width that its texts need.
RgbImage drawColourBar(const ColourBar& bar, int height, const Font& font, int size);

int leastBarHeight(int size);

/// Where the coloured part of that picture is, from its upper left corner.
struct BarPlace {
  int left = 0, top = 0, width = 0, height = 0;
};
BarPlace barPlace(int height, int size);

}  // namespace mirel::picture

#pragma once

#include <string>

#include "containers/volume.h"
#include "picture/colour.h"

/// From values to grey and to colours.
namespace mirel::picture {

/// Values that are shown as black and white; what lies outside is cut off.
struct Window {
  float low = 0.0F, high = 1.0F;

  /// 0 (black) to 1 (white); NaN is black.
  float grey(float value) const;
};

/// The 2nd and 98th percentile of the foreground: of the values above a tenth of the way from the
/// least to the 99.5th percentile of all. Values that are not finite do not count. A
/// foreground of one value is white on black; a constant volume gives a window of width 1 from its
/// value.
Window robustWindow(const Volume<float>& volume);

/// The `fraction` quantile (0 to 1) of the absolute values that are finite and not 0; 1 where there
/// are none. `weight`, of the map's dimensions, leaves out the voxels where it is 0 (all count when
/// that leaves none, and with an empty one).
float robustLimit(const Volume<float>& map, const Volume<float>& weight = {},
                  double fraction = 0.99);

/// The least of 1, 1.5, 2, 2.5, 3, 4, 5, 6 and 8 times a power of ten that is not below `value`
/// (positive, finite): an end of a colour scale whose half is a short number, too.
float roundedUp(float value);

/// A number as it stands at a colour bar: three digits, without exponent where it is not huge or
/// tiny, with a true minus sign.
std::string numberText(double value);

/// With so many decimals and a true minus sign, which a rounded 0 does not have.
std::string fixedText(double value, int decimals);

/// Colour of `value` (-1 to 1, cut off beyond) on the parting scale: blue below, white at 0, red
/// above. NaN and infinite values are grey.
Colour divergingColour(float value);

}  // namespace mirel::picture

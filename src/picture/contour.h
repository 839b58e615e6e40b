#pragma once

#include <glm/vec2.hpp>
#include <vector>

#include "picture/cut.h"
#include "picture/image.h"

namespace mirel::picture {

/// A piece of a line, in pixels: the centre of pixel (x, y) is at (x, y).
struct Segment {
  glm::vec2 from, to;
};

/// The line on which the values of a cut, linear between neighbouring pixels, pass `level`. Pixels
/// off the image's grid and NaN count as below. Where four pixels leave it open which two of them
/// hang together (a saddle), the lower ones do. The line is open where it leaves the picture.
std::vector<Segment> contourOf(const Cut& cut, float level);

/// Draws a line, `width` pixels wide, with a thin dark rim, which keeps it visible on white as well
/// as on its own colour.
void drawContour(RgbImage& image, const std::vector<Segment>& line, Colour colour,
                 float width = 1.5F);

}  // namespace mirel::picture

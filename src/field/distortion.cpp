#include "field/distortion.h"

#include <stdexcept>

namespace mirel {

const std::string& Distortion::name() const { return isField() ? field().name : gridShift().name; }

glm::ivec3 Distortion::dims() const {
  return isField() ? field().hz.dimensions() : gridShift().shift.dimensions();
}

bool Distortion::isOn(const Grid& grid) const {
  if (isField()) return coincide(grid, gridOf(field()));
  if (!gridShift().affine) return grid.dims == dims();
  return coincide(grid, {dims(), *gridShift().affine});
}

Volume<float> Distortion::shiftFor(const Grid& image, bids::PhaseEncodingDirection direction,
                                   std::optional<double> readoutSeconds) const {
  if (isField()) {
    if (!readoutSeconds) throw std::logic_error("a field in Hz needs the image's readout time");
    return shiftVoxels(field(), image, direction, *readoutSeconds);
  }
  const GridShift& map = gridShift();
  if (!isOn(image) || direction.axis != map.direction.axis)
    throw std::logic_error("a displacement map is for images of its own grid and axis");
  return direction.sign == map.direction.sign ? map.shift : -map.shift;
}

}  // namespace mirel

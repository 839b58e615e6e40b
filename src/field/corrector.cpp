#include "field/corrector.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

#include "vdm/vdm.h"

namespace mirel {

namespace {

glm::ivec3 exchangedDims(glm::ivec3 dims, int axis) {
  std::swap(dims[axis], dims[1]);
  return dims;
}

void prepare(Volume<float>& volume, glm::ivec3 dims) {
  if (volume.dimensions() != dims || volume.data() == nullptr) volume = Volume<float>(dims);
}

}  // namespace

Volume<float> jacobianAlongY(const Volume<float>& shift, std::int64_t* folded) {
  Volume<float> jacobian(shift.dimensions());
  std::int64_t negative = 0;
  const int last = shift.ny() - 1;
  for (int z = 0; z < shift.nz(); ++z)
    for (int y = 0; y <= last; ++y) {
      const int below = std::max(y - 1, 0), above = std::min(y + 1, last);
      const float perRow = above > below ? 1.0f / static_cast<float>(above - below) : 0.0f;
      for (int x = 0; x < shift.nx(); ++x) {
        const float slope = (shift.at(x, above, z) - shift.at(x, below, z)) * perRow;
        negative += 1.0f + slope < 0.0f;
        jacobian.at(x, y, z) = std::max(1.0f + slope, 0.0f);
      }
    }
  if (folded != nullptr) *folded = negative;
  return jacobian;
}

Corrector::Corrector(const Volume<float>& map, int alongAxis, Modulation modulation)
    : axis(alongAxis), shift(map, alongAxis) {
  Volume<float> density = jacobianAlongY(*shift, &folded);
  if (modulation == Modulation::on) jacobian = std::move(density);
}

void Corrector::correct(const Volume<float>& image, Volume<float>& result, Scratch& scratch) const {
  if (exchangedDims(image.dimensions(), axis) != shift->dimensions())
    throw std::logic_error("the image and its map have different dimensions");
  const bool alongY = axis == 1;
  if (!alongY) exchangeWithY(image, axis, scratch.in);
  Volume<float>& corrected = alongY ? result : scratch.out;
  prepare(corrected, shift->dimensions());
  applyVdmYSpline(corrected, alongY ? image : scratch.in, *shift, /*reverse=*/false);
  if (jacobian.size() > 0) corrected *= jacobian;
  if (!alongY) exchangeWithY(corrected, axis, result);
}

Volume<float> correctVolume(const Volume<float>& image, const Volume<float>& shift, int axis,
                            Modulation modulation) {
  Volume<float> result;
  Corrector::Scratch scratch;
  Corrector(shift, axis, modulation).correct(image, result, scratch);
  return result;
}

}  // namespace mirel

#include "field/corrector.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

#include "numerics/difference.h"
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
  Volume<float> jacobian = slopeAlong(shift, 1);
  jacobian += 1.0f;
  std::int64_t negative = 0;
  for (int i = 0; i < jacobian.size(); ++i) {
    float& density = jacobian.data()[i];
    negative += density < 0.0f;
    density = std::max(density, 0.0f);
  }
  if (folded != nullptr) *folded = negative;
  return jacobian;
}

Corrector::Corrector(const Volume<float>& map, int alongAxis, Modulation modulation,
                     InterpolationKernel kernel)
    : axis(alongAxis), shift(map, alongAxis) {
  if (kernel != InterpolationKernel::cubic) weighted.emplace(*shift, kernel);
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
  const Volume<float>& source = alongY ? image : scratch.in;
  if (weighted)
    weighted->resample(source, *shift, corrected);
  else
    applyVdmYSpline(corrected, source, *shift, /*reverse=*/false);
  if (jacobian.size() > 0) corrected *= jacobian;
  if (!alongY) exchangeWithY(corrected, axis, result);
}

Volume<float> correctVolume(const Volume<float>& image, const Volume<float>& shift, int axis,
                            Modulation modulation, InterpolationKernel kernel) {
  Volume<float> result;
  Corrector::Scratch scratch;
  Corrector(shift, axis, modulation, kernel).correct(image, result, scratch);
  return result;
}

}  // namespace mirel

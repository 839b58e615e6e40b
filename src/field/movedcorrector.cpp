#include "field/movedcorrector.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <glm/geometric.hpp>
#include <glm/matrix.hpp>
#include <stdexcept>

#include "numerics/bspline.h"
#include "numerics/difference.h"

namespace mirel {

namespace {

void checkMatrix(const glm::dmat4& m) {
  const double size = glm::determinant(glm::dmat3(m));
  if (!std::isfinite(size) || size == 0.0 || !std::isfinite(glm::length(glm::dvec3(m[3]))))
    throw std::logic_error("a motion that is not finite or not invertible");
}

}  // namespace

MovedCorrector::MovedCorrector(const Volume<float>& map, int alongAxis, Modulation modulation,
                               InterpolationKernel by)
    : shift(map), axis(alongAxis), kernel(by) {
  if (modulation == Modulation::off) return;
  for (int along = 0; along < 3; ++along) slopes.push_back(slopeAlong(map, along));
}

void MovedCorrector::correct(const Volume<float>& image, const glm::dmat4& toVolume,
                             Volume<float>& result, Scratch& scratch) const {
  if (image.dimensions() != shift.dimensions())
    throw std::logic_error("the image and its map have different dimensions");
  checkMatrix(toVolume);
  if (result.dimensions() != image.dimensions() || result.data() == nullptr)
    result = Volume<float>(image.dimensions());
  if (kernel == InterpolationKernel::cubic) {
    scratch.coefficients.assign(image.data(), image.data() + image.size());
    convertToBSplineCoeff3D(scratch.coefficients.data(), image.nx(), image.ny(), image.nz());
  }
  const std::size_t slice =
      static_cast<std::size_t>(image.nx()) * static_cast<std::size_t>(image.ny());
  for (std::vector<double>* list : {&scratch.x, &scratch.y, &scratch.z, &scratch.values})
    list->resize(slice);
  for (int z = 0; z < image.nz(); ++z) {
    placeSlice(z, toVolume, scratch);
    evaluateSlice(image, scratch);
    std::transform(scratch.values.begin(), scratch.values.end(), &result.at(0, 0, z),
                   [](double v) { return static_cast<float>(v); });
  }
  if (!slopes.empty()) modulate(toVolume, result);
}

void MovedCorrector::placeSlice(int z, const glm::dmat4& toVolume, Scratch& scratch) const {
  const glm::ivec3 n = shift.dimensions();
  const float* shifts = &shift.at(0, 0, z);
  std::size_t at = 0;
  for (int y = 0; y < n.y; ++y)
    for (int x = 0; x < n.x; ++x, ++at) {
      glm::dvec3 p(toVolume * glm::dvec4(x, y, z, 1.0));
      p[axis] += static_cast<double>(shifts[at]);
      for (int other = 0; other < 3; ++other) {
        if (other == axis) continue;
        // Where every kernel is 0, whatever the volume holds.
        p[other] =
            isMeasured(p[other], n[other]) ? std::clamp(p[other], 0.0, n[other] - 1.0) : -2.0;
      }
      scratch.x[at] = p.x;
      scratch.y[at] = p.y;
      scratch.z[at] = p.z;
    }
}

void MovedCorrector::evaluateSlice(const Volume<float>& image, Scratch& scratch) const {
  const std::size_t slice = scratch.values.size();
  if (kernel == InterpolationKernel::cubic)
    return evalBSpline3D(scratch.coefficients.data(), image.nx(), image.ny(), image.nz(),
                         scratch.x.data(), scratch.y.data(), scratch.z.data(),
                         static_cast<int>(slice), scratch.values.data());
  for (std::size_t at = 0; at < slice; ++at)
    scratch.values[at] =
        interpolatedAt(image, kernel, {scratch.x[at], scratch.y[at], scratch.z[at]});
}

void MovedCorrector::modulate(const glm::dmat4& toVolume, Volume<float>& result) const {
  const glm::dvec3 encoded = glm::inverse(glm::dmat3(toVolume))[axis];
  for (int n = 0; n < result.size(); ++n) {
    double density = 1.0;
    for (int along = 0; along < 3; ++along)
      density +=
          encoded[along] * static_cast<double>(slopes[static_cast<std::size_t>(along)].data()[n]);
    result.data()[n] *= static_cast<float>(std::max(density, 0.0));
  }
}

}  // namespace mirel

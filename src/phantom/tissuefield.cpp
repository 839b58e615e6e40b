#include "phantom/tissuefield.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "phantom/anatomy.h"

namespace mirel {

namespace {

double squared(glm::dvec3 k) { return k.x * k.x + k.y * k.y + k.z * k.z; }

double dipoleKernel(glm::dvec3 k) {
  const double square = squared(k);
  return square > 0.0 ? larmorHzPerPpm * (1.0 / 3.0 - k.z * k.z / square) : 0.0;
}

}  // namespace

Volume<double> dipoleFieldHz(const Volume<double>& chiPpm, glm::dvec3 voxelMm) {
  Fft fft(chiPpm.dimensions(), voxelMm);
  return fft.filtered(fft.transform(chiPpm), dipoleKernel);
}

TissueField::TissueField(const Volume<double>& chiPpm, glm::dvec3 voxelMm, const Shim& shim)
    : fft(chiPpm.dimensions(), voxelMm) {
  Volume<double> field = fft.filtered(fft.transform(chiPpm), dipoleKernel);
  shim.removeFrom(field);
  Volume<double> tissue(chiPpm.dimensions());
  for (int i = 0; i < chiPpm.size(); ++i) {
    tissue.data()[i] = std::min(1.0, chiPpm.data()[i] / Anatomy::susceptibilityPpm(Tissue::grey));
    field.data()[i] *= tissue.data()[i];
  }
  weighted = fft.transform(field);
  weight = fft.transform(tissue);
}

Volume<double> TissueField::smoothed(double sigmaMm) {
  // The wide, faint parts of the kernel take over where there is no tissue near.
  const auto kernel = [sigmaMm](glm::dvec3 k) {
    const double e = -2.0 * std::numbers::pi * std::numbers::pi * sigmaMm * sigmaMm * squared(k);
    double sum = 0.0, share = 1.0, part = std::exp(e);  // widths 1, 2, 4, 8, 16
    for (int i = 0; i < 5; ++i, share *= 0.03) {
      sum += share * part;
      part *= part;
      part *= part;
    }
    return sum;
  };
  Volume<double> field = fft.filtered(weighted, kernel);
  const Volume<double>& sum = fft.filtered(weight, kernel);
  for (int i = 0; i < field.size(); ++i) field.data()[i] /= std::max(sum.data()[i], 1e-9);
  return field;
}

}  // namespace mirel

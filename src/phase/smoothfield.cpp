#include "phase/smoothfield.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "masspreserving/conjugategradients.h"
#include "phase/fieldsolver.h"
#include "phase/nearest.h"
#include "phase/neighbours.h"
#include "phase/voxelweights.h"

namespace mirel {

namespace {

constexpr double pull = 0.01;

// The quadratic form of smoothField on the voxels of a domain; 1 on the diagonal elsewhere.
class SmoothSystem {
 public:
  SmoothSystem(Volume<double> dataWeights, const Volume<float>& where, double weight,
               glm::dvec3 voxelMm)
      : data(std::move(dataWeights)), domain(where), inverse(inverseSquares(voxelMm)) {
    for (int axis = 0; axis < 3; ++axis) {
      bending[axis] = weight * inverse[axis] * inverse[axis];
      pulling[axis] = pull * weight * inverse[axis];
    }
  }

  void apply(const Volume<double>& f, Volume<double>& out) const {
    for (int n = 0; n < f.size(); ++n) out.data()[n] = data.data()[n] * f.data()[n];
    forEachRun(f.dimensions(), 3, [&](int a, int step, int axis) {
      const int b = a + step, c = b + step;
      if (!isIn(a) || !isIn(b) || !isIn(c)) return;
      const double second = bending[axis] * (f.data()[a] - 2 * f.data()[b] + f.data()[c]);
      out.data()[a] += second;
      out.data()[b] -= 2 * second;
      out.data()[c] += second;
    });
    forEachRun(f.dimensions(), 2, [&](int a, int step, int axis) {
      const int b = a + step;
      if (!isIn(a) || !isIn(b)) return;
      const double first = pulling[axis] * (f.data()[b] - f.data()[a]);
      out.data()[a] -= first;
      out.data()[b] += first;
    });
  }

  Volume<double> diagonal() const {
    Volume<double> sum = data;
    forEachRun(sum.dimensions(), 3, [&](int a, int step, int axis) {
      if (!isIn(a) || !isIn(a + step) || !isIn(a + 2 * step)) return;
      sum.data()[a] += bending[axis];
      sum.data()[a + step] += 4 * bending[axis];
      sum.data()[a + 2 * step] += bending[axis];
    });
    forEachRun(sum.dimensions(), 2, [&](int a, int step, int axis) {
      if (!isIn(a) || !isIn(a + step)) return;
      sum.data()[a] += pulling[axis];
      sum.data()[a + step] += pulling[axis];
    });
    for (int n = 0; n < sum.size(); ++n)
      if (!(sum.data()[n] > 0)) sum.data()[n] = 1;
    return sum;
  }

 private:
  bool isIn(int n) const { return domain.data()[n] > 0.0F; }

  Volume<double> data;
  const Volume<float>& domain;
  glm::dvec3 inverse, bending{}, pulling{};
};

}  // namespace

Volume<float> smoothField(const Volume<float>& measured, const Volume<float>& reliability,
                          const Volume<float>& domain, const FieldVariation& variation,
                          glm::dvec3 voxelMm) {
  const glm::ivec3 dims = measured.dimensions();
  Volume<double> weights(dims, 0.0), rhs(dims, 0.0), f = nearestValues(measured);
  for (int n = 0; n < measured.size(); ++n) {
    const auto value = static_cast<double>(measured.data()[n]);
    if (std::isnan(value) || !(domain.data()[n] > 0.0F)) continue;
    const auto reliable = static_cast<double>(reliability.data()[n]);
    weights.data()[n] = reliable * reliable;
    rhs.data()[n] = weights.data()[n] * value;
  }
  const double ratio = variation.noise / variation.curvature;
  const SmoothSystem system(std::move(weights), domain, ratio * ratio, voxelMm);
  Volume<double> inverse(dims, 1.0);
  inverse /= system.diagonal();
  improveSolution<double>(
      [&](const Volume<double>& v, Volume<double>& out) { system.apply(v, out); },
      [&](const Volume<double>& v, Volume<double>& out) { out = v * inverse; }, rhs, f,
      fieldTolerance, mostFieldSteps);
  Volume<float> result(dims, std::numeric_limits<float>::quiet_NaN());
  for (int n = 0; n < result.size(); ++n)
    if (domain.data()[n] > 0.0F) result.data()[n] = static_cast<float>(f.data()[n]);
  return result;
}

}  // namespace mirel

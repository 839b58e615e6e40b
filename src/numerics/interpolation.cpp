#include "numerics/interpolation.h"

#include <algorithm>

namespace mirel {

namespace {

double mix(double a, double b, double weight) { return a + (b - a) * weight; }

}  // namespace

Between between(double coordinate, int n) {
  const double inside = std::clamp(coordinate, 0.0, static_cast<double>(n - 1));
  const int lower = std::min(static_cast<int>(inside), std::max(n - 2, 0));
  return {lower, std::min(lower + 1, n - 1), inside - lower};
}

double trilinear(const Volume<float>& v, const glm::dvec3& p) {
  const Between x = between(p.x, v.nx()), y = between(p.y, v.ny()), z = between(p.z, v.nz());
  const auto row = [&](int j, int k) {
    return mix(static_cast<double>(v.at(x.lower, j, k)), static_cast<double>(v.at(x.upper, j, k)),
               x.weight);
  };
  const auto plane = [&](int k) { return mix(row(y.lower, k), row(y.upper, k), y.weight); };
  return mix(plane(z.lower), plane(z.upper), z.weight);
}

}  // namespace mirel

#pragma once

#include <glm/vec3.hpp>

#include "containers/volume.h"

/// Interpolation that goes on constantly beyond the border. (`Volume::linear` fades out there;
/// numerics/bspline.h has cubic splines.)
namespace mirel {

/// A coordinate between two samples of a row of n: the lower one, the upper one and the weight of
/// the upper. Off the row it is that of the nearest end; n is at least 1.
struct Between {
  int lower, upper;
  double weight;
};
Between between(double coordinate, int n);

/// Trilinear interpolation in double at `p` in voxels, limited to 0 .. n - 1 along each axis.
double trilinear(const Volume<float>& v, const glm::dvec3& p);

/// Cubic convolution between four equidistant samples, at t = 0 .. 1 from p1 to p2: continuous
/// with its slope, exact but for rounding for quadratic polynomials (R. Keys, IEEE
/// Trans. Acoust. Speech Signal Process. 29:1153, 1981; a = -1/2).
inline double cubicConvolution(double p0, double p1, double p2, double p3, double t) {
  return p1 + 0.5 * t *
                  (p2 - p0 +
                   t * (2.0 * p0 - 5.0 * p1 + 4.0 * p2 - p3 + t * (3.0 * (p1 - p2) + p3 - p0)));
}

}  // namespace mirel

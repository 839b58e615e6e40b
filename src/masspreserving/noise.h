#pragma once

#include <limits>

#include "containers/volume.h"
#include "numerics/parallel.h"

namespace mirel {

/// Student's t distribution of residuals: p(r) ~ (1 + r^2 / (nu v))^(-(nu + 1) / 2) / sqrt(v).
/// For infinite nu normal with variance v.
struct ResidualNoise {
  double variance = 0.0;  ///< v: scale squared
  double nu = std::numeric_limits<double>::infinity();

  /// Weight of a residual relative to the normal distribution's, (nu + 1) / (nu + r^2 / v).
  double relativeWeight(double r) const {
    return nu < 1e6 && variance > 0.0 ? (nu + 1.0) / (nu + r * r / variance) : 1.0;
  }
};

/// How far the mean t of two corrected magnitudes stands out of their difference's noise of
/// variance v, from 0 to 1: t^4 / (t^4 + (5 v)^2). Where there is nothing but noise, t^2 is about
/// 0.8 v and this 0.02: what noise lies there does not move with the signal, and would be taken for
/// signal that is not stretched.
inline double aboveNoise(double t, double variance) {
  const double u = t > 0.0 ? t * t : 0.0, floor = 5.0 * variance;
  return u > 0.0 ? u * u / (u * u + floor * floor) : 0.0;
}

/// A fit of noise and the number of residuals of equal weight that would determine it as well.
struct NoiseFit {
  ResidualNoise noise;
  double effectiveCount = 0.0;
  double logLikelihood = 0.0;  ///< mean of a residual's
};

/// Which distributions `fitNoise` may choose.
enum class NoiseTails { normal, student };

/// Maximum likelihood fit to the residuals of voxels (nx, ny, nz), each weighted with the product
/// of the slopes at its two edges, `low` and `high` (nx, ny, nz): where there is signal. With
/// `NoiseTails::student`, nu is chosen from 3, 4, 6, 9, 15, 30 and infinity (normal); it then
/// measures how far the residuals are from normal, so that pairs which the model explains keep
/// all their information and outliers of others do not count.
/// Residuals are binned by size, 16 bins per factor of two. `trust`, if it is not empty, weighs the
/// voxels besides. Sums are of the voxels in their order; of `parallel` there are two parts.
template <typename Real>
NoiseFit fitNoise(const Volume<Real>& residuals, const Volume<Real>& low, const Volume<Real>& high,
                  NoiseTails tails, const Volume<Real>& trust = {}, const Parallel& parallel = {});

extern template NoiseFit fitNoise(const Volume<float>&, const Volume<float>&, const Volume<float>&,
                                  NoiseTails, const Volume<float>&, const Parallel&);
extern template NoiseFit fitNoise(const Volume<double>&, const Volume<double>&,
                                  const Volume<double>&, NoiseTails, const Volume<double>&,
                                  const Parallel&);

}  // namespace mirel

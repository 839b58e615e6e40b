#pragma once

#include "containers/volume.h"

namespace mirel {

/// What a measured field varies by.
struct FieldVariation {
  double noise = 0;      ///< standard deviation where the reliability is 1
  double curvature = 0;  ///< rms of the second differences, noise taken off
};

/// Tells noise and field apart by their differences along the axes:
///
///   third differences     1.4826 median |t| / s,  t = f3 - 3 f2 + 3 f1 - f0,
///                         s^2 = 1/r3^2 + 9/r2^2 + 9/r1^2 + 1/r0^2
///   second differences    mean min(c^2, q) - noise,  c = f2 - 2 f1 + f0,  q: its 99 % quantile
///
/// The median keeps what few voxels do out of the noise; the curvature is the mean, since where the
/// field bends most it must not be smoothed. It is not below `leastCurvature` of the noise that
/// remains in second differences, nor is the noise below 1e-6 of the field's range.
///
/// Shapes   field: NaN where it is not known; reliability: the same, signal over that of a voxel
///          of usual signal, above 0. The noise of a voxel is `noise` over its reliability.
FieldVariation variationOf(const Volume<float>& field, const Volume<float>& reliability);

inline constexpr double leastCurvature = 0.03;

}  // namespace mirel

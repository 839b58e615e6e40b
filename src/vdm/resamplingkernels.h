#pragma once

#include "numerics/bspline.h"
#include "simd/aligned.h"
#include "simd/variant.h"

namespace mirel {

/// One slice of an image to be resampled along y through a map. Slices are (nx, ny), x fastest.
struct ResamplingSlice {
  const float* src;
  const float* vdm;  ///< voxels
  int nx, ny;
  bool reverse;
  float* dst;
};

/// Linear interpolation between rows, samples off the grid counting as 0. For finite images the
/// values of `Volume::linear` at whole x and z, but that a result of -0 may come for +0.
/// @return whether a result is -0
bool resampleSliceLinear(const ResamplingSlice& slice, SimdVariant variant);

/// Cubic B-spline interpolation down the columns of slices, computed in double: at whole x and z
/// the tensor product spline is, in exact arithmetic, the spline of the column alone. What is not
/// finite stays in its column.
class SplineResampling {
 public:
  /// For slices of ny rows, at least 1.
  SplineResampling(int ny, SimdVariant variant);

  void resampleSlice(const ResamplingSlice& slice);

 private:
  SimdVariant variant;
  BSplineFactors factors;
  AlignedDoubles coefficients;  // of one block of columns at a time
};

}  // namespace mirel

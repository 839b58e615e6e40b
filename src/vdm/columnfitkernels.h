#pragma once

#include "simd/variant.h"

namespace mirel {

/// The columns of one slice and the parameters of their fits (see simplevdmestimate.h). Slices
/// are (nx, ny), x fastest.
struct ColumnFitSlice {
  const float* ap;  ///< smoothed images
  const float* pa;
  const float* apDerivative;  ///< their derivatives along y
  const float* paDerivative;
  int nx, ny;
  const float* fitted;  ///< per column: 0 for one that is not fitted
  float* scale;         ///< per column: a, in and out
  float* shift;         ///< per column: b, in and out
  float* vdm;           ///< slice; out where fitted
};

/// Fits every column for which `fitted` is not 0 and writes its map.
void fitColumns(const ColumnFitSlice& slice, SimdVariant variant);

}  // namespace mirel
